#include "host/clickhouse/http_client.h"

#include <dlfcn.h>

#include <mutex>

namespace host::clickhouse {

namespace {

struct Loaded {
    HttpClient client;
    std::string error;
    bool ok = false;
};

template <typename Function>
bool bind(void* library, char const* name, Function& into, std::string& error) {
    into = reinterpret_cast<Function>(dlsym(library, name));
    if (into == nullptr)
        error = std::string("the HTTP client library has no ") + name;
    return into != nullptr;
}

Loaded load() {
    Loaded out;
    // The library the headers were built against: Debian's libcurl4-openssl-dev gives
    // libcurl.so.4 (the unversioned name only comes with the -dev package).
    void* library = nullptr;
    for (char const* name : {"libcurl.so.4", "libcurl.so"})
        if ((library = dlopen(name, RTLD_NOW | RTLD_LOCAL)) != nullptr)
            break;
    if (library == nullptr) {
        char const* why = dlerror();
        out.error = std::string("the HTTP client library (libcurl) cannot be loaded: ") +
                    (why != nullptr ? why : "not found");
        return out;
    }
    HttpClient& c = out.client;
    out.ok = bind(library, "curl_global_init", c.globalInit, out.error) &&
             bind(library, "curl_easy_init", c.easyInit, out.error) &&
             bind(library, "curl_easy_setopt", c.easySetopt, out.error) &&
             bind(library, "curl_easy_perform", c.easyPerform, out.error) &&
             bind(library, "curl_easy_getinfo", c.easyGetinfo, out.error) &&
             bind(library, "curl_easy_cleanup", c.easyCleanup, out.error) &&
             bind(library, "curl_easy_strerror", c.easyStrerror, out.error);
    if (out.ok)
        c.globalInit(CURL_GLOBAL_DEFAULT);
    return out;  // the library stays loaded for the rest of the run
}

}  // namespace

HttpClient const* httpClient(std::string& error) {
    static Loaded const loaded = load();
    if (!loaded.ok) {
        error = loaded.error;
        return nullptr;
    }
    return &loaded.client;
}

}  // namespace host::clickhouse
