#include "sandbox/detail/Directory.h"

#include <algorithm>
#include <array>

#include "sandbox/detail/Base64.h"

namespace tarnwell::sandbox {
namespace {

constexpr std::size_t kCredentialsLimit = 4096;

struct KnownPerson {
  const char* name;
  const char* address;
};

constexpr std::array kBuiltInPeople{
    KnownPerson{"Anna Bergström", "anna.bergstrom@people.example"},
    KnownPerson{"Anna Bergman", "anna.bergman@people.example"},
    KnownPerson{"Bertram Quill", "bertram.quill@people.example"},
    KnownPerson{"Chiara Fontana", "chiara.fontana@people.example"},
    KnownPerson{"Meeting Room Oak", "room.oak@people.example"},
    KnownPerson{"Meeting Room Yew", "room.yew@people.example"},
    KnownPerson{"O'Neill & Söhne <Office>", "office@people.example"},
    KnownPerson{"山田 太郎", "taro.yamada@people.example"},
};

bool beginsWith(std::string_view text, std::string_view lowerCasePrefix) {
  return lowerCase(text.substr(0, lowerCasePrefix.size())) == lowerCasePrefix;
}

/// "alice.smith@example.com" gives "Alice Smith".
std::string nameFor(std::string_view address) {
  std::string name(address.substr(0, address.find('@')));
  bool atStart = true;
  for (char& c : name) {
    if (c == '.' || c == '_' || c == '-') c = ' ';
    if (atStart && c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    atStart = c == ' ';
  }
  return name;
}

}  // namespace

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::ranges::transform(lower, lower.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return lower;
}

bool isMailAddress(std::string_view text) {
  const std::size_t at = text.find('@');
  return at != std::string_view::npos && at > 0 && at + 1 < text.size() &&
         text.find('@', at + 1) == std::string_view::npos &&
         text.find_first_of(" \t\r\n:") == std::string_view::npos;
}

std::string_view Person::alias() const noexcept {
  return std::string_view(address).substr(0, address.find('@'));
}

Directory::Directory(const std::vector<SandboxMailbox>& mailboxes,
                     const std::vector<SandboxToken>& tokens) {
  for (const SandboxMailbox& mailbox : mailboxes) {
    people_.push_back({mailbox.displayName.empty() ? nameFor(mailbox.address) : mailbox.displayName,
                       mailbox.address});
    logins_.push_back({lowerCase(mailbox.address), mailbox.password});
  }
  for (const KnownPerson& person : kBuiltInPeople) people_.push_back({person.name, person.address});
  for (const SandboxToken& token : tokens) tokens_.emplace(token.token, token.address);
}

const Person* Directory::findMailbox(std::string_view address) const {
  const std::string wanted = lowerCase(address);
  const auto end = people_.begin() + static_cast<std::ptrdiff_t>(logins_.size());
  const auto found = std::find_if(people_.begin(), end, [&](const Person& person) {
    return lowerCase(person.address) == wanted;
  });
  return found == end ? nullptr : &*found;
}

std::vector<const Person*> Directory::resolve(std::string_view text) const {
  std::string wanted = lowerCase(text);
  const bool exact = wanted.starts_with("smtp:");
  if (exact) wanted.erase(0, 5);
  std::vector<const Person*> found;
  for (const Person& person : people_) {
    if (lowerCase(person.address) == wanted) return {&person};
    if (!exact && (beginsWith(person.name, wanted) || beginsWith(person.address, wanted))) {
      found.push_back(&person);
    }
  }
  return found;
}

const Person* Directory::login(std::string_view authorization) const {
  const std::size_t blank = authorization.find(' ');
  if (blank == std::string_view::npos) return nullptr;
  const std::string scheme = lowerCase(authorization.substr(0, blank));
  const std::string_view credentials = authorization.substr(blank + 1);
  if (scheme == "bearer") {
    const auto token = tokens_.find(credentials);
    return token == tokens_.end() ? nullptr : findMailbox(token->second);
  }
  if (scheme != "basic") return nullptr;
  if (credentials.size() > kCredentialsLimit) return nullptr;
  const std::optional<std::string> pair = decodeBase64(credentials);
  const std::size_t colon = pair ? pair->find(':') : std::string::npos;
  if (colon == std::string::npos) return nullptr;
  const std::string name = lowerCase(std::string_view(*pair).substr(0, colon));
  const auto login = std::ranges::find(logins_, name, &Login::address);
  return login != logins_.end() && login->password == pair->substr(colon + 1) ? findMailbox(name)
                                                                              : nullptr;
}

}  // namespace tarnwell::sandbox
