#pragma once

#define SECRET_API_SUBJECT_TO_CHANGE
#include <libsecret/secret.h>

#include <memory>

namespace tavlo {

// Owners of what GLib hands out.
struct GLibDelete {
    void operator()(GError* error) const { g_error_free(error); }
    void operator()(GVariant* variant) const { g_variant_unref(variant); }
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
    void operator()(GCancellable* cancellable) const { g_object_unref(cancellable); }
    void operator()(GDBusConnection* connection) const { g_object_unref(connection); }
    void operator()(SecretService* service) const { g_object_unref(service); }
    void operator()(SecretValue* value) const { secret_value_unref(value); }
    void operator()(GMainContext* context) const { g_main_context_unref(context); }
    void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
    void operator()(gchar** texts) const { g_strfreev(texts); }
};

template <class T>
using GLibPointer = std::unique_ptr<T, GLibDelete>;
using GLibTexts = std::unique_ptr<gchar*, GLibDelete>;

}  // namespace tavlo
