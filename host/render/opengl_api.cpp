#include "host/render/opengl_api.h"

#define EGL_EGLEXT_PROTOTYPES
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <dlfcn.h>

#include <mutex>
#include <stdexcept>

namespace host {
namespace {

[[noreturn]] void notAvailable(const std::string& reason) {
  throw std::runtime_error("OpenGL is not available: " + reason);
}

/// The library's entry points, and its display.
class Egl {
 public:
  /// Opened at first use and never closed: programs that render in other ways run on machines without it, and
  /// start without its cost.
  void open() {
    library_ = dlopen("libEGL.so.1", RTLD_NOW | RTLD_LOCAL);
    if (!library_) notAvailable("the library libEGL.so.1 cannot be loaded");
    load(GetProcAddress, "eglGetProcAddress");
    load(GetPlatformDisplay, "eglGetPlatformDisplay");
    load(Initialize, "eglInitialize");
    load(BindApi, "eglBindAPI");
    load(CreateContext, "eglCreateContext");
    load(DestroyContext, "eglDestroyContext");
    load(MakeCurrent, "eglMakeCurrent");
    load(ReleaseThread, "eglReleaseThread");
    display = GetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, nullptr, nullptr);
    if (display == EGL_NO_DISPLAY || !Initialize(display, nullptr, nullptr)) {
      notAvailable("there is no driver that draws without a screen");
    }
  }

  decltype(&eglGetProcAddress) GetProcAddress = nullptr;
  decltype(&eglGetPlatformDisplay) GetPlatformDisplay = nullptr;
  decltype(&eglInitialize) Initialize = nullptr;
  decltype(&eglBindAPI) BindApi = nullptr;
  decltype(&eglCreateContext) CreateContext = nullptr;
  decltype(&eglDestroyContext) DestroyContext = nullptr;
  decltype(&eglMakeCurrent) MakeCurrent = nullptr;
  decltype(&eglReleaseThread) ReleaseThread = nullptr;
  EGLDisplay display = EGL_NO_DISPLAY;

 private:
  template <class Function>
  void load(Function& function, const char* name) {
    function = reinterpret_cast<Function>(dlsym(library_, name));
    if (!function) notAvailable(std::string("the library libEGL.so.1 is too old, it has no ") + name);
  }

  void* library_ = nullptr;
};

constinit Egl opened;

/// Once a context was made.
const Egl& openedEgl() noexcept { return opened; }

const Egl& egl() {
  static std::once_flag once;
  std::call_once(once, [] { opened.open(); });  // a failure is thrown each time anew
  return opened;
}

GlCalls loadCalls() {
  GlCalls calls;
  const auto load = [](auto& call, const char* name) {
    call = reinterpret_cast<std::remove_reference_t<decltype(call)>>(egl().GetProcAddress(name));
    if (!call) notAvailable(std::string("the driver has no ") + name);
  };
#define VESTA_GL_LOAD(name) load(calls.name, "gl" #name);
  VESTA_GL_CALLS(VESTA_GL_LOAD)
#undef VESTA_GL_LOAD
  return calls;
}

const char* errorText(GLenum error) {
  switch (error) {
    case GL_OUT_OF_MEMORY:
      return "not enough memory";
    case GL_INVALID_ENUM:
      return "the driver does not know a value";
    case GL_INVALID_VALUE:
      return "a number is out of the driver's range";
    case GL_INVALID_FRAMEBUFFER_OPERATION:
      return "the driver cannot draw to this kind of picture";
    default:
      return "the driver refused a call";
  }
}

}  // namespace

const GlCalls& gl() {
  static const GlCalls kCalls = loadCalls();
  return kCalls;
}

GlContext::GlContext() {
  const Egl& e = egl();
  e.BindApi(EGL_OPENGL_API);  // of this thread
  const EGLint attributes[] = {EGL_CONTEXT_MAJOR_VERSION,
                               4,
                               EGL_CONTEXT_MINOR_VERSION,
                               5,
                               EGL_CONTEXT_OPENGL_PROFILE_MASK,
                               EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                               EGL_NONE};
  context_ = e.CreateContext(e.display, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, attributes);
  if (context_ == EGL_NO_CONTEXT) notAvailable("the driver does not know version 4.5");
  try {
    gl();
  } catch (...) {
    e.DestroyContext(e.display, context_);
    throw;
  }
}

GlContext::~GlContext() { openedEgl().DestroyContext(openedEgl().display, context_); }

GlContext::Current::Current(const GlContext& context) {
  const Egl& e = egl();
  e.BindApi(EGL_OPENGL_API);
  if (!e.MakeCurrent(e.display, EGL_NO_SURFACE, EGL_NO_SURFACE, context.context_)) {
    notAvailable("the driver gives this thread no context");
  }
}

GlContext::Current::~Current() {
  const Egl& e = openedEgl();
  e.MakeCurrent(e.display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
  e.ReleaseThread();
}

void checkGl(const char* step) {
  const GLenum error = gl().GetError();
  if (error == GL_NO_ERROR) return;
  while (gl().GetError() != GL_NO_ERROR) {  // some drivers keep one for each of their parts
  }
  throw std::runtime_error(std::string("OpenGL, ") + step + ": " + errorText(error));
}

std::string glDriver() {
  const auto text = [](GLenum name) { return reinterpret_cast<const char*>(gl().GetString(name)); };
  return std::string(text(GL_RENDERER)) + " " + text(GL_VERSION);
}

GlBuffer makeBuffer(const void* bytes, size_t size) {
  GLuint name = 0;
  gl().CreateBuffers(1, &name);
  GlBuffer buffer(name);
  gl().NamedBufferStorage(name, static_cast<GLsizeiptr>(size), bytes, 0);
  return buffer;
}

GlTexture makeTexture(GLenum target) {
  GLuint name = 0;
  gl().CreateTextures(target, 1, &name);
  return GlTexture(name);
}

GlSampler makeSampler() {
  GLuint name = 0;
  gl().CreateSamplers(1, &name);
  return GlSampler(name);
}

GlVertexArray makeVertexArray() {
  GLuint name = 0;
  gl().CreateVertexArrays(1, &name);
  return GlVertexArray(name);
}

GlFramebuffer makeFramebuffer() {
  GLuint name = 0;
  gl().CreateFramebuffers(1, &name);
  return GlFramebuffer(name);
}

GlRenderbuffer makeRenderbuffer(int samples, GLenum format, int width, int height) {
  GLuint name = 0;
  gl().CreateRenderbuffers(1, &name);
  GlRenderbuffer buffer(name);
  gl().NamedRenderbufferStorageMultisample(name, samples, format, width, height);
  return buffer;
}

}  // namespace host
