#pragma once

#include <string>
#include <string_view>

#include "tests/support/ScriptedServer.h"

/// What servers say in SOAP, for scripted exchanges.
namespace tarnwell::test {

/// An answer's envelope around a body; `m` and `t` are declared. The attributes go into
/// `t:ServerVersionInfo`; without any, the header is left out.
[[nodiscard]] inline std::string envelope(std::string_view body,
                                          std::string_view serverVersionInfo = "") {
  std::string text =
      "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\" "
      "xmlns:m=\"http://schemas.microsoft.com/exchange/services/2006/messages\" "
      "xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\">";
  if (!serverVersionInfo.empty())
    text.append("<s:Header><t:ServerVersionInfo ")
        .append(serverVersionInfo)
        .append("/></s:Header>");
  return text.append("<s:Body>").append(body).append("</s:Body></s:Envelope>");
}

/// The envelope of a request that no account is bound to.
[[nodiscard]] inline std::string requestEnvelope(std::string_view version,
                                                 std::string_view payload) {
  return "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\" "
         "xmlns:m=\"http://schemas.microsoft.com/exchange/services/2006/messages\" "
         "xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\"><s:Header>"
         "<t:RequestServerVersion Version=\"" +
         std::string(version) + "\"/></s:Header><s:Body>" + std::string(payload) +
         "</s:Body></s:Envelope>";
}

/// A fault whose detail names a code.
[[nodiscard]] inline std::string faultEnvelope(std::string_view code, std::string_view message) {
  return envelope(
      "<s:Fault><faultcode "
      "xmlns:a=\"http://schemas.microsoft.com/exchange/services/2006/types\">a:" +
      std::string(code) + "</faultcode><faultstring>" + std::string(message) +
      "</faultstring><detail><e:ResponseCode "
      "xmlns:e=\"http://schemas.microsoft.com/exchange/services/2006/errors\">" +
      std::string(code) +
      "</e:ResponseCode><e:Message "
      "xmlns:e=\"http://schemas.microsoft.com/exchange/services/2006/errors\">" +
      std::string(message) + "</e:Message></detail></s:Fault>");
}

/// A response message of an operation.
[[nodiscard]] inline std::string responseMessage(std::string_view operation,
                                                 std::string_view responseClass,
                                                 std::string_view code,
                                                 std::string_view content = "") {
  const std::string name = "m:" + std::string(operation) + "ResponseMessage";
  return "<" + name + " ResponseClass=\"" + std::string(responseClass) + "\"><m:ResponseCode>" +
         std::string(code) + "</m:ResponseCode>" + std::string(content) + "</" + name + ">";
}

/// An operation's response around its messages.
[[nodiscard]] inline std::string response(std::string_view operation, std::string_view messages) {
  const std::string name = "m:" + std::string(operation) + "Response";
  return "<" + name + "><m:ResponseMessages>" + std::string(messages) + "</m:ResponseMessages></" +
         name + ">";
}

/// An answer to ResolveNames with the given resolutions.
[[nodiscard]] inline ScriptedAnswer resolveNamesAnswer(std::string_view serverVersionInfo,
                                                       std::string_view resolutions = "") {
  return ScriptedAnswer::xml(envelope(
      response("ResolveNames", responseMessage("ResolveNames", "Success", "NoError",
                                               "<m:ResolutionSet>" + std::string(resolutions) +
                                                   "</m:ResolutionSet>")),
      serverVersionInfo));
}

}  // namespace tarnwell::test
