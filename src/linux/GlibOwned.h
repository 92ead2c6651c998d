#pragma once
// GIO's headers use "signals" as a name, which Qt leaves alone with QT_NO_KEYWORDS.
#include <gio/gio.h>
#include <memory>

namespace vennic {

struct GlibUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
    void operator()(GVariant* value) const { g_variant_unref(value); }
};
/// Owns one reference of a GObject, or of a value.
template <class T>
using GlibOwned = std::unique_ptr<T, GlibUnref>;

/// A text of GLib's, or a list of them that ends with a null pointer.
struct GlibFree {
    void operator()(gpointer memory) const { g_free(memory); }
    void operator()(gchar** texts) const { g_strfreev(texts); }
};
using GlibText = std::unique_ptr<gchar, GlibFree>;
using GlibTexts = std::unique_ptr<gchar*, GlibFree>;

} // namespace vennic
