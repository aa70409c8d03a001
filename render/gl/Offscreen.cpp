// SPDX-License-Identifier: MIT
// Pictures through EGL without a surface: works on a server without a display.
#include "render/Picture.h"

#include <epoxy/egl.h>
#include <epoxy/gl.h>

#include <algorithm>

namespace render {
namespace {

constexpr int kSamples = 4;
constexpr int kOversampledSide = 4096; // larger pictures are not drawn at twice their size

EGLDisplay openDisplay()
{
    if (!epoxy_has_egl())
        return EGL_NO_DISPLAY;
    // Without a window system first; then whatever the machine offers.
    if (epoxy_has_egl_extension(EGL_NO_DISPLAY, "EGL_MESA_platform_surfaceless")) {
        const EGLDisplay display =
            eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        if (display != EGL_NO_DISPLAY && eglInitialize(display, nullptr, nullptr))
            return display;
    }
    const EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    return display != EGL_NO_DISPLAY && eglInitialize(display, nullptr, nullptr) ? display : EGL_NO_DISPLAY;
}

/// A framebuffer with colour and depth, freed with its owner.
class Target {
public:
    Target(int width, int height, int samples)
    {
        glGenFramebuffers(1, &m_Framebuffer);
        glGenRenderbuffers(2, m_Buffers);
        glBindFramebuffer(GL_FRAMEBUFFER, m_Framebuffer);
        attach(0, GL_RGBA8, GL_COLOR_ATTACHMENT0, width, height, samples);
        attach(1, GL_DEPTH24_STENCIL8, GL_DEPTH_STENCIL_ATTACHMENT, width, height, samples);
    }
    ~Target()
    {
        glDeleteRenderbuffers(2, m_Buffers);
        glDeleteFramebuffers(1, &m_Framebuffer);
    }
    bool isComplete() const
    {
        glBindFramebuffer(GL_FRAMEBUFFER, m_Framebuffer);
        return glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE
            && glGetError() == GL_NO_ERROR;
    }
    GLuint id() const { return m_Framebuffer; }

    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

private:
    void attach(int index, GLenum format, GLenum place, int width, int height, int samples)
    {
        glBindRenderbuffer(GL_RENDERBUFFER, m_Buffers[index]);
        glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, format, width, height);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, place, GL_RENDERBUFFER, m_Buffers[index]);
    }

    GLuint m_Framebuffer = 0, m_Buffers[2] = {};
};

/// Rows from the top, each pixel the mean of `factor` times `factor`.
Image reduced(const std::vector<std::uint8_t>& rgba, int width, int height, int factor)
{
    Image image{width, height, {}};
    image.rgb.resize(3 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    const std::size_t stride = 4 * static_cast<std::size_t>(width * factor);
    std::size_t out = 0;
    for (int y = height - 1; y >= 0; --y)
        for (int x = 0; x < width; ++x)
            for (std::size_t channel = 0; channel < 3; ++channel) {
                int sum = 0;
                for (int dy = 0; dy < factor; ++dy)
                    for (int dx = 0; dx < factor; ++dx)
                        sum += rgba[stride * static_cast<std::size_t>(y * factor + dy)
                                    + 4 * static_cast<std::size_t>(x * factor + dx) + channel];
                image.rgb[out++] = static_cast<std::uint8_t>((sum + factor * factor / 2) / (factor * factor));
            }
    return image;
}

} // namespace

struct Studio::Context {
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLContext context = EGL_NO_CONTEXT;

    Context()
    {
        constexpr const char* kAdvice =
            " Pictures need EGL and OpenGL 3.3; a software renderer will do (Debian: "
            "libegl1 and libgl1-mesa-dri).";
        display = openDisplay();
        if (display == EGL_NO_DISPLAY)
            throw RenderError(std::string("no EGL display could be opened.") + kAdvice);
        constexpr EGLint kConfig[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_SURFACE_TYPE, 0, EGL_NONE};
        constexpr EGLint kVersion[] = {EGL_CONTEXT_MAJOR_VERSION,
                                       3,
                                       EGL_CONTEXT_MINOR_VERSION,
                                       3,
                                       EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                       EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                                       EGL_NONE};
        EGLConfig config = nullptr;
        EGLint count = 0;
        if (eglBindAPI(EGL_OPENGL_API) && eglChooseConfig(display, kConfig, &config, 1, &count) && count > 0)
            context = eglCreateContext(display, config, EGL_NO_CONTEXT, kVersion);
        if (context == EGL_NO_CONTEXT || !eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context)) {
            close();
            throw RenderError(std::string("no OpenGL 3.3 context could be made.") + kAdvice);
        }
    }
    ~Context() { close(); }

    void close()
    {
        eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        if (context != EGL_NO_CONTEXT)
            eglDestroyContext(display, context);
        eglTerminate(display);
    }
};

Studio::Studio() : m_Context(std::make_unique<Context>()), m_Renderer(std::make_unique<Renderer>()) { }

Studio::~Studio() = default;

Image Studio::picture(const Shapes& shapes, const refhost::View& view, const Surroundings& around)
{
    const int factor = std::max(view.width, view.height) * 2 <= kOversampledSide ? 2 : 1;
    const int width = view.width * factor, height = view.height * factor;
    GLint samples = 0;
    glGetIntegerv(GL_MAX_SAMPLES, &samples);
    const Target drawn(width, height, std::min(samples, kSamples)), resolved(width, height, 0);
    if (view.width < 1 || view.height < 1 || std::max(view.width, view.height) > kMaximumPictureSide
        || !drawn.isComplete() || !resolved.isComplete())
        throw RenderError("a picture of " + std::to_string(view.width) + " by " + std::to_string(view.height)
                          + " pixels can't be made here; choose a smaller one.");
    glBindFramebuffer(GL_FRAMEBUFFER, drawn.id());
    m_Renderer->draw(shapes, view, around, 0, 0, factor);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, drawn.id());
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, resolved.id());
    glBlitFramebuffer(0, 0, width, height, 0, 0, width, height, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, resolved.id());
    std::vector<std::uint8_t> rgba(4 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
    return reduced(rgba, view.width, view.height, factor);
}

} // namespace render
