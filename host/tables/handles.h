#pragma once
// What stands behind the contract's handles.

#include <array>
#include <atomic>
#include <cstdint>
#include <string>

#include "host/document/document.h"
#include "host/render/document_renderer.h"
#include "host/services/bitmap.h"
#include "host/services/dialog.h"
#include "host/services/files.h"
#include "host/services/threads.h"
#include "host/services/tokenizer.h"
#include "host/services/values.h"
#include "vesta.framework/contract/host_tables.h"

namespace host {

enum class HandleKind {
  String,
  FileName,
  File,
  Browse,
  Container,
  Thread,
  Dialog,
  UserArea,
  Document,
  Bitmap,
  Memory,
  Tokenizer
};

/// Counts the handles that the module holds, so that what it forgot can be named after the last detach.
void countHandle(HandleKind kind, int change);
/// "2 strings, 1 bitmap"; empty when nothing lives.
std::string describeLiveHandles();

/// Base of everything that is given to the module.
template <HandleKind kind>
class Counted {
 public:
  Counted() { countHandle(kind, 1); }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;
  ~Counted() { countHandle(kind, -1); }
};

// Lent things are the services' own objects: their handles are the objects' addresses.
inline HostContainer* handleOf(Container* container) { return reinterpret_cast<HostContainer*>(container); }
inline Container& behind(HostContainer* handle) { return *reinterpret_cast<Container*>(handle); }
inline const Container& behind(const HostContainer* handle) {
  return *reinterpret_cast<const Container*>(handle);
}

inline HostRenderSettings* handleOf(Document* document) {
  return reinterpret_cast<HostRenderSettings*>(document);
}
inline Document& behind(HostRenderSettings* handle) { return *reinterpret_cast<Document*>(handle); }

inline HostVideoPost* handleOf(VideoPost* post) { return reinterpret_cast<HostVideoPost*>(post); }
inline VideoPost& behind(HostVideoPost* handle) { return *reinterpret_cast<VideoPost*>(handle); }
inline const VideoPost& behind(const HostVideoPost* handle) {
  return *reinterpret_cast<const VideoPost*>(handle);
}

inline HostGadget* handleOf(Gadget* gadget) { return reinterpret_cast<HostGadget*>(gadget); }
inline Gadget& behind(HostGadget* handle) { return *reinterpret_cast<Gadget*>(handle); }
inline const Gadget& behind(const HostGadget* handle) { return *reinterpret_cast<const Gadget*>(handle); }

}  // namespace host

struct HostString : host::Counted<host::HandleKind::String> {
  std::u16string text;
};

struct HostFileName : host::Counted<host::HandleKind::FileName> {
  std::string path;  ///< normalised; empty: names nothing
};

struct HostFile : host::Counted<host::HandleKind::File> {
  host::FileStream stream;
  std::string name;
  bool readFailed = false;  ///< and the user was told
};

struct HostBrowse : host::Counted<host::HandleKind::Browse> {
  std::vector<host::ListedEntry> entries;
  size_t next = 0;  ///< the current entry is the one before
};

struct HostThread : host::Counted<host::HandleKind::Thread> {
  explicit HostThread(host::WorkerThread::Work work) : worker(std::move(work)) {}
  host::WorkerThread worker;
};

struct HostDialog : host::Counted<host::HandleKind::Dialog> {
  explicit HostDialog(host::Dialog::Receiver receiver) : dialog(std::move(receiver)) {}
  host::Dialog dialog;
};

struct HostUserArea : host::Counted<host::HandleKind::UserArea> {
  const HostUserAreaCallbacks* callbacks = nullptr;
  void* self = nullptr;
};

struct HostDocument : host::Counted<host::HandleKind::Document> {
  HostDocument(const std::string& file, const host::SceneOptions& options)
      : document(file, options), renderer(document) {}
  host::Document document;
  host::DocumentRenderer renderer;
  std::string lastRenderFailure;  ///< so that a warm-up and its render do not say the same twice
};

struct HostBitmap : host::Counted<host::HandleKind::Bitmap> {
  host::Bitmap bitmap;
};

struct HostTokenizer : host::Counted<host::HandleKind::Tokenizer> {
  explicit HostTokenizer(const std::string& name) : file(name), tokenizer(name) {}
  std::string file;
  host::Tokenizer tokenizer;
  bool failed = false;  ///< reading did: there are no more tokens
};
