#pragma once

#include <exception>
#include <string>

namespace tarnwell::sandbox {

/// What is wrong with one part of a request, the rest of which goes on: it becomes that part's
/// response message.
class EwsError : public std::exception {
 public:
  /// With the text that the real server has for the code.
  explicit EwsError(std::string ewsCode);
  EwsError(std::string ewsCode, std::string ewsText);

  [[nodiscard]] const char* what() const noexcept override { return text.c_str(); }

  std::string code;
  std::string text;
};

}  // namespace tarnwell::sandbox
