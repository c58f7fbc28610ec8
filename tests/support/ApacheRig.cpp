#include "tests/support/ApacheRig.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <openssl/evp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/Gate.h"

namespace tarnwell::test {
namespace {

namespace fs = std::filesystem;

constexpr std::array<const char*, 10> kDoors = {
    "BASIC", "DIGEST",  "NTLM",     "NEGOTIATE",      "BASIC_DIGEST",
    "ALL",   "TLS_ALL", "TLS_SELF", "TLS_WRONG_HOST", "TLS_EXPIRED"};

struct User {
  const char* domain;
  const char* name;
  const char* password;
};
constexpr std::array<User, 2> kUsers = {
    {{"EXAMPLE", "alice", "Secret1!"}, {"", "user@example.com", "Secret2!"}}};

constexpr const char* kServer = "/usr/sbin/apache2";
constexpr const char* kModules = "/usr/lib/apache2/modules";

std::string digest(const EVP_MD* kind, const std::string& text) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
  unsigned size = 0;
  EVP_Digest(text.data(), text.size(), bytes.data(), &size, kind, nullptr);
  return {reinterpret_cast<const char*>(bytes.data()), size};
}

std::string hex(const std::string& bytes) {
  constexpr const char* kDigits = "0123456789abcdef";
  std::string text;
  for (const char c : bytes) {
    text += kDigits[static_cast<unsigned char>(c) >> 4];
    text += kDigits[static_cast<unsigned char>(c) & 15];
  }
  return text;
}

std::string base64(const std::string& bytes) {
  std::string text(4 * ((bytes.size() + 2) / 3) + 1, '\0');
  const int size = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                   reinterpret_cast<const unsigned char*>(bytes.data()),
                                   static_cast<int>(bytes.size()));
  text.resize(static_cast<std::size_t>(size));
  return text;
}

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

/// Ports that were free a moment ago, all different. Apache cannot be told to take any.
std::vector<int> freePorts(std::size_t count) {
  std::vector<int> sockets;
  std::vector<int> ports;
  for (std::size_t i = 0; i < count; ++i) {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    if (::bind(socket, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
      throw std::runtime_error("no free port");
    }
    sockets.push_back(socket);
    ports.push_back(ntohs(address.sin_port));
  }
  for (const int socket : sockets) ::close(socket);
  return ports;
}

std::string readFile(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

void replaceAll(std::string& text, const std::string& what, const std::string& with) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
    text.replace(at, what.size(), with);
  }
}

/// Root's child processes run as www-data, which must be able to read what the rig needs.
void openToAll(const fs::path& path) {
  fs::permissions(path, fs::perms::group_read | fs::perms::others_read, fs::perm_options::add);
  if (fs::is_directory(path)) {
    fs::permissions(path, fs::perms::group_exec | fs::perms::others_exec, fs::perm_options::add);
  }
}

}  // namespace

ApacheRig::ApacheRig(bool closesAfterRefusal) {
  missing_ = lookForParts();
  if (!missing_.empty()) return;
  // Somebody else may take one of the ports before Apache does; then there are others.
  for (int attempt = 0; attempt < 3; ++attempt) {
    writeFiles();
    if (start(closesAfterRefusal)) return;
  }
  missing_ = "Apache does not start: " + readFile(directory_->path() / "logs/error.log") +
             readFile(directory_->path() / "logs/output");
}

const std::string& ApacheRig::missing() const {
  if (!missing_.empty() && std::getenv("TARNWELL_NEEDS_APACHE") != nullptr)
    ADD_FAILURE() << missing_;
  return missing_;
}

ApacheRig::~ApacheRig() { stop(); }

void ApacheRig::stop() {
  if (server_ <= 0) return;
  ::kill(server_, SIGTERM);
  ::waitpid(server_, nullptr, 0);
  server_ = -1;
}

std::string ApacheRig::lookForParts() const {
  if (!fs::exists(kServer)) return "apache2-bin is not installed";
  if (!fs::exists(fs::path(kModules) / "mod_auth_gssapi.so")) {
    return "libapache2-mod-auth-gssapi is not installed";
  }
  for (const char* directory : {"/usr/lib/x86_64-linux-gnu/gssntlmssp", "/usr/lib/gssntlmssp",
                                "/usr/lib/aarch64-linux-gnu/gssntlmssp"}) {
    if (fs::exists(fs::path(directory) / "gssntlmssp.so")) return {};
  }
  return "gss-ntlmssp is not installed";
}

std::string ApacheRig::url(const std::string& door, std::string_view path) const {
  std::string text = door.starts_with("TLS") ? "https://localhost:" : "http://127.0.0.1:";
  text += std::to_string(ports_.at(door));
  text += path;
  return text;
}

void ApacheRig::writeFiles() {
  directory_ = std::make_unique<TemporaryDirectory>();
  const fs::path root = directory_->path();
  for (const char* name : {"run", "logs", "certs"}) {
    fs::create_directory(root / name);
    openToAll(root / name);
  }
  openToAll(root);

  const std::vector<int> ports = freePorts(kDoors.size());
  std::string conf = readFile(TARNWELL_APACHE_CONF);
  replaceAll(conf, "@MODULES@", kModules);
  replaceAll(conf, "@BACKEND@", std::to_string(backend_.port()));
  for (std::size_t i = 0; i < kDoors.size(); ++i) {
    ports_[kDoors[i]] = ports[i];
    replaceAll(conf, std::string("@") + kDoors[i] + "@", std::to_string(ports[i]));
  }
  std::ofstream(root / "rig.conf") << conf;

  std::ofstream basic(root / "users.basic");
  std::ofstream digests(root / "users.digest");
  std::ofstream ntlm(root / "users.ntlm");
  for (const User& user : kUsers) {
    basic << user.name << ":{SHA}" << base64(digest(EVP_sha1(), user.password)) << '\n';
    const std::string secret = std::string(user.name) + ":rig:" + user.password;
    digests << user.name << ":rig:" << hex(digest(EVP_md5(), secret)) << '\n';
    ntlm << user.domain << ':' << user.name << ':' << user.password << '\n';
  }
  const TestCertificates& certificates = TestCertificates::shared();
  const std::pair<const char*, const TestCertificate*> files[] = {
      {"good", &certificates.good()},
      {"self", &certificates.selfSigned()},
      {"wronghost", &certificates.wrongHost()},
      {"expired", &certificates.expired()}};
  for (const auto& [name, certificate] : files) {
    fs::copy_file(certificate->certificateFile, root / "certs" / (std::string(name) + ".pem"));
    fs::copy_file(certificate->keyFile, root / "certs" / (std::string(name) + ".key"));
  }
  for (const auto& file : fs::recursive_directory_iterator(root)) openToAll(file.path());
}

bool ApacheRig::start(bool closesAfterRefusal) {
  const std::string root = directory_->path().string();
  const std::string users = "NTLM_USER_FILE=" + root + "/users.ntlm";
  std::vector<const char*> arguments{kServer, "-d", root.c_str(), "-f", "rig.conf", "-DFOREGROUND"};
  if (::geteuid() == 0) arguments.push_back("-DROOT");
  if (!closesAfterRefusal) arguments.push_back("-DKEEP_REFUSED");
  arguments.push_back(nullptr);
  const std::array<const char*, 3> environment = {users.c_str(), "PATH=/usr/bin:/bin", nullptr};
  const std::string output = root + "/logs/output";

  server_ = ::fork();
  if (server_ == 0) {
    // Only what is allowed between fork and exec in a program with threads.
    const int file = ::open(output.c_str(), O_WRONLY | O_CREAT, 0644);
    ::dup2(file, 1);
    ::dup2(file, 2);
    sigset_t none;
    sigemptyset(&none);
    ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
    ::execve(kServer, const_cast<char* const*>(arguments.data()),
             const_cast<char* const*>(environment.data()));
    ::_exit(127);
  }
  if (server_ < 0) return false;
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (std::chrono::steady_clock::now() < end) {
    // Written once it listens at every port. Whoever answers there may be somebody else, who took
    // the port meanwhile; Apache then ends.
    if (fs::exists(directory_->path() / "run" / "apache.pid")) return true;
    if (::waitpid(server_, nullptr, WNOHANG) == server_) {
      server_ = -1;
      return false;
    }
    ::poll(nullptr, 0, 10);  // nothing to wait on: Apache tells nobody that it is ready
  }
  stop();
  return false;
}

}  // namespace tarnwell::test
