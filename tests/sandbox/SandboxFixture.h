#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "sandbox/SandboxServer.h"
#include "tests/sandbox/HttpClient.h"

namespace tarnwell::sandbox::test {

/// An envelope around `body`, asking for that version; none for an empty one.
[[nodiscard]] std::string envelope(const std::string& body,
                                   const std::string& version = "Exchange2016");
/// A ResolveNames request for one name.
[[nodiscard]] std::string resolveNamesFor(const std::string& name,
                                          const std::string& attributes = {});

/// The same two mailboxes for every test: alice@example.com (password "secret") and
/// bob@example.com (password "pa:ss word").
[[nodiscard]] SandboxOptions standardOptions();

/// An answer read for a test: what an XPath says about it, where a name means any namespace.
class Answer {
 public:
  explicit Answer(const HttpReply& reply);
  /// The text at the first match of a path such as "//ResponseCode"; "(none)" without one.
  [[nodiscard]] std::string text(const std::string& path) const;
  /// The attribute of the first match; "(none)" without one.
  [[nodiscard]] std::string attribute(const std::string& path, const char* name) const;
  [[nodiscard]] std::size_t count(const std::string& path) const;
  [[nodiscard]] std::vector<std::string> texts(const std::string& path) const;
  [[nodiscard]] std::string namespaceAt(const std::string& path) const;

 private:
  [[nodiscard]] pugi::xpath_node_set select(const std::string& path) const;
  pugi::xml_document document_;
};

/// Whether the answer is a SOAP fault of that EWS code in all the places that name it.
[[nodiscard]] testing::AssertionResult isFault(const HttpReply& reply, int status,
                                               const std::string& code);

/// A running sandbox and a client that is logged in as alice.
class SandboxTest : public testing::Test {
 protected:
  explicit SandboxTest(SandboxOptions options = standardOptions());

  HttpReply send(const std::string& soap) { return client.post(server.url(), soap); }

  SandboxServer server;
  HttpClient client;
};

}  // namespace tarnwell::sandbox::test
