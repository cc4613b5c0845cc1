#pragma once
// OpenGL without a screen: entry points, a context that belongs to no window, and owners of what it makes.
// opengl*.cpp are the only files that include this.

#define GL_GLEXT_PROTOTYPES  // for the types of the entry points; none of them is linked
#include <GL/glcorearb.h>

#include <memory>
#include <string>
#include <utility>

/// Every call that the renderer makes.
#define VESTA_GL_CALLS(X)                \
  X(AttachShader)                        \
  X(BindBufferBase)                      \
  X(BindFramebuffer)                     \
  X(BindSampler)                         \
  X(BindTextureUnit)                     \
  X(BindVertexArray)                     \
  X(BlendFunc)                           \
  X(BlitNamedFramebuffer)                \
  X(CheckNamedFramebufferStatus)         \
  X(Clear)                               \
  X(ClearDepth)                          \
  X(ClipControl)                         \
  X(ColorMask)                           \
  X(CompileShader)                       \
  X(CreateBuffers)                       \
  X(CreateFramebuffers)                  \
  X(CreateProgram)                       \
  X(CreateRenderbuffers)                 \
  X(CreateSamplers)                      \
  X(CreateShader)                        \
  X(CreateTextures)                      \
  X(CreateVertexArrays)                  \
  X(DeleteBuffers)                       \
  X(DeleteFramebuffers)                  \
  X(DeleteProgram)                       \
  X(DeleteRenderbuffers)                 \
  X(DeleteSamplers)                      \
  X(DeleteShader)                        \
  X(DeleteTextures)                      \
  X(DeleteVertexArrays)                  \
  X(DepthFunc)                           \
  X(DepthMask)                           \
  X(Disable)                             \
  X(DrawArrays)                          \
  X(DrawElements)                        \
  X(Enable)                              \
  X(EnableVertexArrayAttrib)             \
  X(Finish)                              \
  X(FrontFace)                           \
  X(GetError)                            \
  X(GetIntegerv)                         \
  X(GetProgramInfoLog)                   \
  X(GetProgramiv)                        \
  X(GetShaderInfoLog)                    \
  X(GetShaderiv)                         \
  X(GetString)                           \
  X(LinkProgram)                         \
  X(MinSampleShading)                    \
  X(NamedBufferStorage)                  \
  X(NamedFramebufferDrawBuffer)          \
  X(NamedFramebufferRenderbuffer)        \
  X(NamedFramebufferTexture)             \
  X(NamedRenderbufferStorage)            \
  X(NamedRenderbufferStorageMultisample) \
  X(PixelStorei)                         \
  X(ProgramUniform2f)                    \
  X(ProgramUniformMatrix3fv)             \
  X(ProgramUniformMatrix4fv)             \
  X(ReadPixels)                          \
  X(SamplerParameterf)                   \
  X(SamplerParameteri)                   \
  X(ShaderSource)                        \
  X(TextureBuffer)                       \
  X(TextureParameteri)                   \
  X(TextureStorage2D)                    \
  X(TextureSubImage2D)                   \
  X(UseProgram)                          \
  X(VertexArrayAttribBinding)            \
  X(VertexArrayAttribFormat)             \
  X(VertexArrayElementBuffer)            \
  X(VertexArrayVertexBuffer)             \
  X(VertexAttrib4f)                      \
  X(Viewport)

namespace host {

/// The entry points, under their names without "gl".
struct GlCalls {
#define VESTA_GL_MEMBER(name) decltype(&gl##name) name = nullptr;
  VESTA_GL_CALLS(VESTA_GL_MEMBER)
#undef VESTA_GL_MEMBER
};

/// Valid once a context was made. Thread: any.
const GlCalls& gl();

/// A context of its own, bound to no thread. Thread: any, one at a time.
class GlContext {
 public:
  /// Throws std::runtime_error "OpenGL is not available: ...".
  GlContext();
  ~GlContext();
  GlContext(const GlContext&) = delete;
  GlContext& operator=(const GlContext&) = delete;

  /// While it lives, the context is the calling thread's.
  class Current {
   public:
    explicit Current(const GlContext& context);
    ~Current();
    Current(const Current&) = delete;
    Current& operator=(const Current&) = delete;
  };

 private:
  void* context_ = nullptr;
};

/// Throws std::runtime_error that names `step` when a call since the last check failed. Needs a current
/// context.
void checkGl(const char* step);

/// "renderer version" of the driver. Needs a current context.
std::string glDriver();

/// Owns the GL object of one name; made and released while its context is current.
template <void (*release)(GLuint)>
class GlName {
 public:
  GlName() = default;
  explicit GlName(GLuint name) : name_(name) {}
  GlName(GlName&& other) noexcept : name_(std::exchange(other.name_, 0)) {}
  GlName& operator=(GlName other) noexcept {
    std::swap(name_, other.name_);
    return *this;
  }
  ~GlName() {
    if (name_ != 0) release(name_);
  }

  GLuint name() const { return name_; }
  explicit operator bool() const { return name_ != 0; }

 private:
  GLuint name_ = 0;
};

inline void releaseBuffer(GLuint name) { gl().DeleteBuffers(1, &name); }
inline void releaseTexture(GLuint name) { gl().DeleteTextures(1, &name); }
inline void releaseSampler(GLuint name) { gl().DeleteSamplers(1, &name); }
inline void releaseVertexArray(GLuint name) { gl().DeleteVertexArrays(1, &name); }
inline void releaseFramebuffer(GLuint name) { gl().DeleteFramebuffers(1, &name); }
inline void releaseRenderbuffer(GLuint name) { gl().DeleteRenderbuffers(1, &name); }
inline void releaseShader(GLuint name) { gl().DeleteShader(name); }
inline void releaseProgram(GLuint name) { gl().DeleteProgram(name); }

using GlBuffer = GlName<releaseBuffer>;
using GlTexture = GlName<releaseTexture>;
using GlSampler = GlName<releaseSampler>;
using GlVertexArray = GlName<releaseVertexArray>;
using GlFramebuffer = GlName<releaseFramebuffer>;
using GlRenderbuffer = GlName<releaseRenderbuffer>;
using GlShader = GlName<releaseShader>;
using GlProgram = GlName<releaseProgram>;

/// A buffer that holds these bytes and never changes.
GlBuffer makeBuffer(const void* bytes, size_t size);
GlTexture makeTexture(GLenum target);
GlSampler makeSampler();
GlVertexArray makeVertexArray();
GlFramebuffer makeFramebuffer();
GlRenderbuffer makeRenderbuffer(int samples, GLenum format, int width, int height);

}  // namespace host
