#pragma once

// Its checking macros take the address of the operations themselves, which nothing here is linked to.
#define CURL_DISABLE_TYPECHECK
#include <curl/curl.h>

#include "platform/text_literals.h"

#include <QLibrary>

namespace tavlo {

// The operations of libcurl that are used. The library is loaded when the first of them is needed: it brings two dozen
// others, which neither the start of the program nor its idling should pay for.
class CurlLibrary {
public:
    // Loads the library, once; may block on the disk. None when it is missing. Any thread.
    static const CurlLibrary* instance()
    {
        static CurlLibrary library;
        static const bool isLoaded = library.load();
        return isLoaded ? &library : nullptr;
    }

    decltype(&curl_easy_init) easyInit = nullptr;
    decltype(&curl_easy_setopt) easySetopt = nullptr;
    decltype(&curl_easy_getinfo) easyGetinfo = nullptr;
    decltype(&curl_easy_header) easyHeader = nullptr;
    decltype(&curl_easy_cleanup) easyCleanup = nullptr;
    decltype(&curl_easy_strerror) easyStrerror = nullptr;
    decltype(&curl_slist_append) slistAppend = nullptr;
    decltype(&curl_slist_free_all) slistFreeAll = nullptr;
    decltype(&curl_multi_init) multiInit = nullptr;
    decltype(&curl_multi_setopt) multiSetopt = nullptr;
    decltype(&curl_multi_add_handle) multiAddHandle = nullptr;
    decltype(&curl_multi_remove_handle) multiRemoveHandle = nullptr;
    decltype(&curl_multi_socket_action) multiSocketAction = nullptr;
    decltype(&curl_multi_info_read) multiInfoRead = nullptr;
    decltype(&curl_multi_cleanup) multiCleanup = nullptr;

private:
    template <typename Operation>
    static bool resolve(QLibrary& library, const char* name, Operation& operation)
    {
        operation = reinterpret_cast<Operation>(library.resolve(name));
        return operation != nullptr;
    }

    bool load()
    {
        QLibrary file(u"curl"_s, 4);
        decltype(&curl_global_init) globalInit = nullptr;
        return resolve(file, "curl_global_init", globalInit) && resolve(file, "curl_easy_init", easyInit) &&
               resolve(file, "curl_easy_setopt", easySetopt) && resolve(file, "curl_easy_getinfo", easyGetinfo) &&
               resolve(file, "curl_easy_header", easyHeader) && resolve(file, "curl_easy_cleanup", easyCleanup) &&
               resolve(file, "curl_easy_strerror", easyStrerror) && resolve(file, "curl_slist_append", slistAppend) &&
               resolve(file, "curl_slist_free_all", slistFreeAll) && resolve(file, "curl_multi_init", multiInit) &&
               resolve(file, "curl_multi_setopt", multiSetopt) &&
               resolve(file, "curl_multi_add_handle", multiAddHandle) &&
               resolve(file, "curl_multi_remove_handle", multiRemoveHandle) &&
               resolve(file, "curl_multi_socket_action", multiSocketAction) &&
               resolve(file, "curl_multi_info_read", multiInfoRead) &&
               resolve(file, "curl_multi_cleanup", multiCleanup) && globalInit(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    }
};

}  // namespace tavlo
