# The libraries that Tarnwell is built on. None of them appears in a public header.
find_package(LibXml2 2.9 REQUIRED)
find_package(CURL 7.87 REQUIRED COMPONENTS HTTP HTTPS SSL)
find_package(OpenSSL 3 REQUIRED)
find_package(ICU 67 REQUIRED COMPONENTS i18n uc data)
find_package(ZLIB 1.2.9 REQUIRED)
find_package(Threads REQUIRED)
find_package(nlohmann_json 3.10 REQUIRED) # headers only; the archives of folder trees
