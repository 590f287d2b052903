#include "http/curl_library.h"

#include "platform/text_literals.h"

#include <QLibrary>

namespace tavlo {

namespace {

template <typename Operation>
bool resolve(QLibrary& library, const char* name, Operation& operation)
{
    operation = reinterpret_cast<Operation>(library.resolve(name));
    return operation != nullptr;
}

}  // namespace

const CurlLibrary* CurlLibrary::instance()
{
    static CurlLibrary library;
    static const bool isLoaded = library.load();
    return isLoaded ? &library : nullptr;
}

bool CurlLibrary::load()
{
    QLibrary file(u"curl"_s, 4);
    decltype(&curl_global_init) globalInit = nullptr;
    return resolve(file, "curl_global_init", globalInit) && resolve(file, "curl_easy_init", easyInit) &&
           resolve(file, "curl_easy_setopt", easySetopt) && resolve(file, "curl_easy_getinfo", easyGetinfo) &&
           resolve(file, "curl_easy_header", easyHeader) && resolve(file, "curl_easy_cleanup", easyCleanup) &&
           resolve(file, "curl_easy_strerror", easyStrerror) && resolve(file, "curl_slist_append", slistAppend) &&
           resolve(file, "curl_slist_free_all", slistFreeAll) && resolve(file, "curl_multi_init", multiInit) &&
           resolve(file, "curl_multi_setopt", multiSetopt) && resolve(file, "curl_multi_add_handle", multiAddHandle) &&
           resolve(file, "curl_multi_remove_handle", multiRemoveHandle) &&
           resolve(file, "curl_multi_socket_action", multiSocketAction) &&
           resolve(file, "curl_multi_info_read", multiInfoRead) && resolve(file, "curl_multi_cleanup", multiCleanup) &&
           globalInit(CURL_GLOBAL_DEFAULT) == CURLE_OK;
}

}  // namespace tavlo
