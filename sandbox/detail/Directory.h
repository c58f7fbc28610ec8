#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/SandboxServer.h"

namespace tarnwell::sandbox {

/// Somebody who can be found by name.
struct Person {
  std::string name;
  std::string address;

  /// What stands before the "@".
  [[nodiscard]] std::string_view alias() const noexcept;
};

/// Who there is and who may log in. Does not change once made; letters compare without regard to
/// their case where they are ASCII.
class Directory {
 public:
  /// The mailboxes come first, then a few people without mailboxes, so that names can be ambiguous.
  Directory(const std::vector<SandboxMailbox>& mailboxes, const std::vector<SandboxToken>& tokens);

  /// Null when nobody has that address.
  [[nodiscard]] const Person* findMailbox(std::string_view address) const;

  /// Those whose name, address or alias begins with the text; one only when the text is his whole
  /// address. "smtp:" before the text asks for the whole address.
  [[nodiscard]] std::vector<const Person*> resolve(std::string_view text) const;

  /// The mailbox that an Authorization field logs in to; null when it does not.
  [[nodiscard]] const Person* login(std::string_view authorization) const;

 private:
  struct Login {
    std::string address;
    std::string password;
  };

  std::vector<Person> people_;
  std::vector<Login> logins_;
  std::map<std::string, std::string, std::less<>> tokens_;
};

/// ASCII letters in lower case.
[[nodiscard]] std::string lowerCase(std::string_view text);
/// Whether it looks like name@domain.
[[nodiscard]] bool isMailAddress(std::string_view text);

}  // namespace tarnwell::sandbox
