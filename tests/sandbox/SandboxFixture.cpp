#include "tests/sandbox/SandboxFixture.h"

#include "sandbox/detail/Xml.h"

namespace tarnwell::sandbox::test {
namespace {

/// "//A/B" as an XPath that ignores namespaces: every name becomes a test of the local name.
std::string anyNamespace(const std::string& path) {
  std::string result;
  for (std::size_t at = 0; at < path.size();) {
    const std::size_t end = std::min(path.find('/', at), path.size());
    if (end > at) result += "*[local-name()='" + path.substr(at, end - at) + "']";
    if (end < path.size()) result += '/';
    at = end + 1;
  }
  return result;
}

}  // namespace

std::string envelope(const std::string& body, const std::string& version) {
  return R"(<?xml version="1.0" encoding="utf-8"?>)"
         R"(<s:Envelope xmlns:s="http://schemas.xmlsoap.org/soap/envelope/")"
         R"( xmlns:t="http://schemas.microsoft.com/exchange/services/2006/types")"
         R"( xmlns:m="http://schemas.microsoft.com/exchange/services/2006/messages"><s:Header>)" +
         (version.empty() ? "" : R"(<t:RequestServerVersion Version=")" + version + R"("/>)") +
         "</s:Header><s:Body>" + body + "</s:Body></s:Envelope>";
}

std::string resolveNamesFor(const std::string& name, const std::string& attributes) {
  return R"(<m:ResolveNames ReturnFullContactData="false")" + attributes + "><m:UnresolvedEntry>" +
         name + "</m:UnresolvedEntry></m:ResolveNames>";
}

SandboxOptions standardOptions() {
  SandboxOptions options;
  options.mailboxes = {{"alice@example.com", "secret", "Alice Liddell"},
                       {"bob@example.com", "pa:ss word", {}}};
  options.tokens = {{"token-of-bob", "bob@example.com"}};
  return options;
}

Answer::Answer(const HttpReply& reply) {
  const pugi::xml_parse_result result =
      document_.load_buffer(reply.body.data(), reply.body.size(), pugi::parse_full);
  EXPECT_TRUE(result) << result.description() << " in " << reply.body;
}

pugi::xpath_node_set Answer::select(const std::string& path) const {
  return document_.select_nodes(anyNamespace(path).c_str());
}

std::string Answer::text(const std::string& path) const {
  const pugi::xpath_node_set found = select(path);
  return found.empty() ? "(none)" : found[0].node().text().get();
}

std::string Answer::attribute(const std::string& path, const char* name) const {
  const pugi::xpath_node_set found = select(path);
  const pugi::xml_attribute attribute =
      found.empty() ? pugi::xml_attribute() : found[0].node().attribute(name);
  return attribute ? attribute.value() : "(none)";
}

std::size_t Answer::count(const std::string& path) const { return select(path).size(); }

std::vector<std::string> Answer::texts(const std::string& path) const {
  std::vector<std::string> texts;
  for (const pugi::xpath_node& node : select(path)) texts.emplace_back(node.node().text().get());
  return texts;
}

std::string Answer::namespaceAt(const std::string& path) const {
  const pugi::xpath_node_set found = select(path);
  return found.empty() ? "(none)" : std::string(namespaceOf(found[0].node()));
}

testing::AssertionResult isFault(const HttpReply& reply, int status, const std::string& code) {
  const Answer answer(reply);
  if (reply.status == status && answer.text("//Fault/faultcode") == "a:" + code &&
      answer.text("//Fault/detail/ResponseCode") == code &&
      answer.namespaceAt("//Fault/detail/ResponseCode") == kErrorsNs &&
      answer.namespaceAt("//Fault/detail/Message") == kErrorsNs) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << "status " << reply.status << ": " << reply.body;
}

SandboxTest::SandboxTest(SandboxOptions options) : server(std::move(options)) {
  std::string error;
  EXPECT_TRUE(server.start(&error)) << error;
}

}  // namespace tarnwell::sandbox::test
