#include "platform/gtk/application/SoftwareRendering.h"

#include <epoxy/gl.h>
#include <gtk/gtk.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/glib/GObjectPtr.h"

namespace quillory::gtk {

namespace {

constexpr const char* variable = "GSK_RENDERER";
constexpr const char* softwareRenderer = "cairo";

// Mesa's names for the processor.
bool isSoftware(std::string_view renderer)
{
    constexpr auto names = std::to_array<std::string_view>({"llvmpipe", "softpipe", "swrast"});
    return std::ranges::any_of(names,
                               [&](std::string_view name) { return renderer.find(name) != std::string_view::npos; });
}

// Empty where there is no OpenGL at all: the toolkit finds that out by itself.
std::string_view rendererOf(GdkDisplay* display)
{
    const GObjectPtr<GdkGLContext> context(gdk_display_create_gl_context(display, nullptr));
    if (!context || gdk_gl_context_realize(context.get(), nullptr) == 0)
        return {};
    gdk_gl_context_make_current(context.get());
    // The driver's own text, which stays.
    const auto* name = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
    gdk_gl_context_clear_current();
    return name != nullptr ? name : std::string_view();
}

}

void chooseRendering()
{
    if (g_getenv(variable) == nullptr && isSoftware(rendererOf(gdk_display_get_default())))
        g_setenv(variable, softwareRenderer, FALSE);
}

bool rendersInSoftware()
{
    return g_strcmp0(g_getenv(variable), softwareRenderer) == 0;
}

}
