#pragma once

// Included after a public header: names the dependency that this header let through.
#ifdef LIBXML_DOTTED_VERSION
#error "a public header pulls in libxml2"
#endif
#ifdef LIBCURL_VERSION
#error "a public header pulls in libcurl"
#endif
#ifdef OPENSSL_VERSION_NUMBER
#error "a public header pulls in OpenSSL"
#endif
#ifdef ZLIB_VERSION
#error "a public header pulls in zlib"
#endif
#ifdef U_ICU_VERSION
#error "a public header pulls in ICU"
#endif
#ifdef NLOHMANN_JSON_VERSION_MAJOR
#error "a public header pulls in nlohmann-json"
#endif
