#pragma once

#include <glib-object.h>

#include <memory>

struct GObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};

/// Owns one reference to a GObject.
template <class T>
using GObjectPtr = std::unique_ptr<T, GObjectUnref>;

struct GErrorFree {
    void operator()(GError* error) const { g_error_free(error); }
};
using GErrorPtr = std::unique_ptr<GError, GErrorFree>;

struct GTextFree {
    void operator()(gchar* text) const { g_free(text); }
};
using GTextPtr = std::unique_ptr<gchar, GTextFree>;

struct GHashTableUnref {
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
};
using GHashTablePtr = std::unique_ptr<GHashTable, GHashTableUnref>;
