#include "host/app/render_command.h"

#include <charconv>
#include <cmath>
#include <filesystem>
#include <map>
#include <optional>

#include "host/app/exit_status.h"
#include "host/app/host_options.h"
#include "host/render/document_renderer.h"
#include "host/services/bitmap.h"
#include "host/services/files.h"
#include "host/services/paths.h"
#include "host/services/text.h"
#include "host/services/threads.h"

namespace host {
namespace {

template <class Number>
std::optional<Number> wholeNumber(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

int32_t rendererId(const std::string& text) {
  static const std::map<std::string, RendererId> kNames = {{"standard", RendererId::Standard},
                                                           {"preview", RendererId::Preview},
                                                           {"physical", RendererId::Physical},
                                                           {"opengl", RendererId::OpenGl}};
  const auto known = kNames.find(text);
  if (known != kNames.end()) return static_cast<int32_t>(known->second);
  if (const auto id = wholeNumber<int32_t>(text)) return *id;
  throw UsageError("there is no renderer '" + text + "': standard, preview, physical, opengl, or an id");
}

/// A truth value, an integer, or a real when there is a point.
void setValue(Container& container, std::string_view id, std::string_view value, const std::string& word) {
  const auto number = wholeNumber<int32_t>(id);
  if (!number) throw UsageError("'" + word + "': '" + std::string(id) + "' is no id");
  if (value == "true" || value == "false") {
    container.set(*number, value == "true");
  } else if (const auto integer = wholeNumber<int32_t>(value)) {
    container.set(*number, *integer);
  } else if (const auto real = wholeNumber<double>(value); real && std::isfinite(*real)) {
    container.set(*number, *real);
  } else {
    throw UsageError("'" + word + "': '" + std::string(value) + "' is neither a number nor true or false");
  }
}

/// `word` is ID=VALUE, behind `from` characters.
void setPair(Container& container, const std::string& word, size_t from) {
  const size_t equals = word.find('=', from);
  if (equals == std::string::npos) throw UsageError("'" + word + "' is not ID=VALUE");
  const std::string_view text(word);
  setValue(container, text.substr(from, equals - from), text.substr(equals + 1), word);
}

void setSize(Container& settings, const std::string& size) {
  const size_t by = size.find('x');
  const auto side = [&](std::string_view text) {
    const auto number = by == std::string::npos ? std::nullopt : wholeNumber<int32_t>(text);
    if (!number || *number < 1) throw UsageError("'" + size + "' is no size such as 800x600");
    return *number;
  };
  const std::string_view text(size);
  settings.set(render_setting::kWidth, side(text.substr(0, by)));
  settings.set(render_setting::kHeight, side(by == std::string::npos ? text : text.substr(by + 1)));
}

/// What the command line puts over the scene's own settings.
struct Overrides {
  Container settings;
  std::map<int32_t, Container> posts;  // by type
};

Overrides readOverrides(const RenderOrder& order) {
  Overrides overrides;
  if (!order.renderer.empty()) overrides.settings.set(render_setting::kRenderer, rendererId(order.renderer));
  if (!order.size.empty()) setSize(overrides.settings, order.size);
  for (const std::string& word : order.sets) setPair(overrides.settings, word, 0);
  for (const int32_t id : {render_setting::kRenderer, render_setting::kWidth, render_setting::kHeight}) {
    const auto set = overrides.settings.values().find(id);
    if (set != overrides.settings.values().end() && !std::holds_alternative<int32_t>(set->second)) {
      throw UsageError("setting " + std::to_string(id) + " is a whole number up to 2147483647");
    }
  }
  for (const std::string& word : order.posts) {
    const size_t colon = word.find(':');
    const auto type = wholeNumber<int32_t>(std::string_view(word).substr(0, std::min(colon, word.size())));
    if (colon == std::string::npos || !type) throw UsageError("'" + word + "' is not TYPE:ID=VALUE");
    setPair(overrides.posts[*type], word, colon + 1);
  }
  return overrides;
}

void merge(const Container& over, Container& container) {
  for (const auto& [id, value] : over.values()) container.set(id, value);
}

void apply(const Overrides& overrides, Document& document) {
  merge(overrides.settings, document.renderSettings());
  for (const auto& [type, settings] : overrides.posts) {
    VideoPost& post = document.videoPost(type);
    post.flags &= ~kVideoPostOff;  // who sets something of it wants to see it
    merge(settings, post.parameters);
  }
}

void render(HostServices& services, Document& document, Bitmap& bitmap) {
  const Container& settings = document.renderSettings();
  RenderRequest request;
  request.width = settings.getInt32(render_setting::kWidth);
  request.height = settings.getInt32(render_setting::kHeight);
  request.threads = services.renderThreads;
  request.stopped = interruptRequested;
  request.progress = [&](double part) { services.console.renderProgress(part); };
  if (!bitmap.init(request.width, request.height, 24))
    throw std::runtime_error("no picture can have " + std::to_string(request.width) + " x " +
                             std::to_string(request.height) + " pixels");
  bitmap.assign(DocumentRenderer(document).render(settings, request));
}

}  // namespace

int renderOne(HostServices& services, const RenderOrder& order) {
  const bool png = hasSuffix(order.image, "png");
  if (!png && !hasSuffix(order.image, "tif") && !hasSuffix(order.image, "tiff")) {
    services.console.printError("'" + order.image + "': pictures are written as .tif or .png");
    return kExitUsage;
  }
  std::error_code ignored;
  if (std::filesystem::equivalent(order.scene, order.image, ignored)) {
    services.console.printError("'" + order.image + "' is the scene itself");
    return kExitUsage;
  }
  const Overrides overrides = readOverrides(order);
  const std::string file = normalPath(order.scene);
  Bitmap bitmap;
  try {
    Document document(file, {services.outsideFiles != 0, interruptRequested});
    apply(overrides, document);
    const std::string unsupported = describeUnsupported(document.sceneFile());
    if (!unsupported.empty()) services.console.print(file + ": " + unsupported);
    render(services, document, bitmap);
  } catch (const SceneError& error) {
    services.console.printError(file + ": " + error.what());
    return interruptRequested() ? kExitStopped : kExitUsage;
  } catch (const RenderStopped&) {
    return kExitStopped;
  } catch (const std::exception& error) {
    services.console.printError(file + ": " + error.what());
    return kExitWrong;
  }
  if (interruptRequested()) return kExitStopped;
  try {
    const std::string place = normalPath(order.image);
    png ? bitmap.savePng(place) : bitmap.saveTiff(place, services.tiffCompression());
    services.console.print("Created " + place);
    return kExitGood;
  } catch (const std::exception& error) {
    services.console.printError(order.image + ": " + reasonOf(error));
    return kExitUsage;
  }
}

}  // namespace host
