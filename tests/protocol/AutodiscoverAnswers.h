#pragma once

#include <string>
#include <string_view>

/// What autodiscover servers say.
namespace tarnwell::test {

inline constexpr std::string_view kAnswerNamespace =
    "http://schemas.microsoft.com/exchange/autodiscover/outlook/responseschema/2006a";

/// An answer with that content of its `Account` and `User`.
[[nodiscard]] inline std::string answerWith(
    std::string_view account,
    std::string_view user = "<AutoDiscoverSMTPAddress>ann@example.com</AutoDiscoverSMTPAddress>",
    std::string_view xmlns = kAnswerNamespace) {
  return "<Autodiscover "
         "xmlns=\"http://schemas.microsoft.com/exchange/autodiscover/responseschema/"
         "2006\"><Response xmlns=\"" +
         std::string(xmlns) + "\"><User>" + std::string(user) + "</User><Account>" +
         std::string(account) + "</Account></Response></Autodiscover>";
}

[[nodiscard]] inline std::string protocol(std::string_view type, std::string_view url) {
  return "<Protocol><Type>" + std::string(type) + "</Type><EwsUrl>" + std::string(url) +
         "</EwsUrl></Protocol>";
}

/// An answer that tells an error; elements without a prefix are in its namespace.
[[nodiscard]] inline std::string errorAnswer(std::string_view error) {
  return "<Autodiscover><Response "
         "xmlns=\"http://schemas.microsoft.com/exchange/autodiscover/responseschema/2006\">" +
         std::string(error) + "</Response></Autodiscover>";
}

/// How the `Account` of an answer begins that tells settings.
inline const std::string kEmail = "<AccountType>email</AccountType><Action>settings</Action>";

}  // namespace tarnwell::test
