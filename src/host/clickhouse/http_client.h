#pragma once
// libcurl, loaded the first time a ClickHouse server is asked something. Linking it would load
// it, and the twenty libraries behind it (TLS, Kerberos, LDAP...), at the start of every run,
// most of which never reach a server: a few milliseconds of every small job.

#include <curl/curl.h>

#include <string>

namespace host::clickhouse {

struct HttpClient {
    CURLcode (*globalInit)(long flags) = nullptr;
    CURL* (*easyInit)() = nullptr;
    CURLcode (*easySetopt)(CURL* curl, CURLoption option, ...) = nullptr;
    CURLcode (*easyPerform)(CURL* curl) = nullptr;
    CURLcode (*easyGetinfo)(CURL* curl, CURLINFO info, ...) = nullptr;
    void (*easyCleanup)(CURL* curl) = nullptr;
    char const* (*easyStrerror)(CURLcode code) = nullptr;
};

// The client, loaded and initialised once; nothing, with `error` saying why, when libcurl
// cannot be found or lacks a function.
HttpClient const* httpClient(std::string& error);

}  // namespace host::clickhouse
