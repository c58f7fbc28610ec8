#pragma once

#include <string_view>

namespace tarnwell {

/// SOAP 1.1 envelopes, prefix "s".
inline constexpr std::string_view kSoapNamespace = "http://schemas.xmlsoap.org/soap/envelope/";
/// The types of Exchange Web Services, prefix "t".
inline constexpr std::string_view kTypesNamespace =
    "http://schemas.microsoft.com/exchange/services/2006/types";
/// The messages of Exchange Web Services, prefix "m".
inline constexpr std::string_view kMessagesNamespace =
    "http://schemas.microsoft.com/exchange/services/2006/messages";

}  // namespace tarnwell
