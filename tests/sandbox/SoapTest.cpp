#include <gtest/gtest.h>

#include "sandbox/detail/Soap.h"
#include "tests/sandbox/SandboxFixture.h"

namespace tarnwell::sandbox::test {
namespace {

constexpr const char* kSoap = "http://schemas.xmlsoap.org/soap/envelope/";
constexpr const char* kTypes = "http://schemas.microsoft.com/exchange/services/2006/types";
constexpr const char* kMessages = "http://schemas.microsoft.com/exchange/services/2006/messages";

/// An envelope with these blocks in its header.
std::string withHeader(const std::string& blocks) {
  std::string text = envelope(resolveNamesFor("alice"), "");
  return text.insert(text.find("</s:Header>"), blocks);
}

class Soap : public SandboxTest {
 protected:
  /// What the validator says; empty when the request was accepted.
  std::string violation(const std::string& request) {
    const HttpReply reply = send(request);
    if (reply.status == 200) return "";
    EXPECT_TRUE(isFault(reply, 500, "ErrorSchemaValidation"));
    const Answer answer(reply);
    EXPECT_EQ(answer.text("//detail/Message"), "The request failed schema validation.");
    EXPECT_EQ(answer.text("//faultstring"),
              "The request failed schema validation: " + answer.text("//Violation"));
    return answer.text("//Violation");
  }
};

TEST_F(Soap, PrefixesMayBeAnything) {
  const std::string request =
      std::string("<Envelope xmlns='") + kSoap + "'><Header><x:RequestServerVersion xmlns:x='" +
      kTypes + "' Version='Exchange2010'/></Header><Body><ResolveNames xmlns='" + kMessages +
      "' ReturnFullContactData='0'><q:UnresolvedEntry xmlns:q='" + kMessages +
      "'>alice</q:UnresolvedEntry></ResolveNames></Body></Envelope>";
  const HttpReply reply = send(request);
  EXPECT_EQ(reply.status, 200) << reply.body;
  EXPECT_EQ(server.requests().back().requestedVersion, "Exchange2010");
  EXPECT_EQ(server.requests().back().operation, "ResolveNames");
}

TEST_F(Soap, AnswersStandInTheMessagesNamespace) {
  const HttpReply reply = send(envelope(resolveNamesFor("alice")));
  const Answer answer(reply);
  EXPECT_EQ(reply.headers.find("content-type")->second, "text/xml; charset=utf-8");
  EXPECT_EQ(answer.namespaceAt("/Envelope"), kSoap);
  EXPECT_EQ(answer.namespaceAt("//Body/ResolveNamesResponse"), kMessages);
  EXPECT_EQ(answer.namespaceAt("//Mailbox/EmailAddress"), kTypes);
}

TEST_F(Soap, AHeaderIsNotNeededAndThenTheClientIsOneOfExchange2007) {
  const std::string bare = std::string("<s:Envelope xmlns:s='") + kSoap + "' xmlns:m='" +
                           kMessages + "'><s:Body>%</s:Body></s:Envelope>";
  const auto with = [&](const std::string& body) {
    std::string text = bare;
    return text.replace(text.find('%'), 1, body);
  };
  EXPECT_EQ(send(with(resolveNamesFor("alice"))).status, 200);
  EXPECT_EQ(send(envelope(resolveNamesFor("alice"), "")).status, 200);
  EXPECT_TRUE(isFault(send(with("<m:GetServerTimeZones/>")), 500, "ErrorInvalidRequest"));
  EXPECT_EQ(server.requests().back().requestedVersion, "");
}

TEST_F(Soap, AVersionThatDoesNotExistIsRefused) {
  for (const char* version : {"Exchange2099", "", "V2017_07_11", "Exchange2010_SP3"}) {
    EXPECT_TRUE(isFault(
        send(withHeader(R"(<t:RequestServerVersion Version=")" + std::string(version) + R"("/>)")),
        500, "ErrorInvalidServerVersion"))
        << version;
  }
}

TEST_F(Soap, UnknownOperationsAreInvalidRequests) {
  const HttpReply reply = send(envelope("<m:MakeCoffee/>"));
  EXPECT_TRUE(isFault(reply, 500, "ErrorInvalidRequest"));
  EXPECT_EQ(Answer(reply).text("//faultstring"), "The request is invalid.");
  EXPECT_TRUE(isFault(send(envelope("<t:ResolveNames/>")), 500, "ErrorInvalidRequest"));
}

TEST_F(Soap, EnvelopesOutOfOrderBreakTheSchema) {
  const std::string start =
      std::string("<s:Envelope xmlns:s='") + kSoap + "' xmlns:m='" + kMessages + "'>";
  const std::string body = "<s:Body>" + resolveNamesFor("alice") + "</s:Body>";
  const std::string soapName = std::string(" in namespace '") + kSoap + "'";
  EXPECT_EQ(violation("<a/>"), "The 'a' element is not declared.");
  EXPECT_EQ(violation(start + "</s:Envelope>"),
            "The element 'Envelope'" + soapName + " has incomplete content.");
  EXPECT_EQ(
      violation(start + body + "<s:Header/></s:Envelope>"),
      "The element 'Envelope'" + soapName + " has invalid child element 'Header'" + soapName + ".");
  EXPECT_EQ(
      violation(start + body + body + "</s:Envelope>"),
      "The element 'Envelope'" + soapName + " has invalid child element 'Body'" + soapName + ".");
  EXPECT_EQ(violation(start + "<s:Body/></s:Envelope>"),
            "The element 'Body'" + soapName + " has incomplete content.");
  EXPECT_EQ(violation(start + "<s:Body><m:A/><m:B/></s:Body></s:Envelope>"),
            "The element 'Body'" + soapName + " has invalid child element 'B' in namespace '" +
                kMessages + "'.");
  EXPECT_EQ(violation(start + "text" + body + "</s:Envelope>"),
            "The element 'Envelope'" + soapName + " cannot contain text.");
}

TEST_F(Soap, AnEnvelopeOfAnotherSoapIsAVersionMismatch) {
  const HttpReply reply = send("<e:Envelope xmlns:e='http://www.w3.org/2003/05/soap-envelope'/>");
  EXPECT_EQ(reply.status, 500);
  EXPECT_EQ(Answer(reply).text("//faultcode"), "s:VersionMismatch");
  EXPECT_EQ(Answer(reply).count("//detail"), 0U);
}

TEST_F(Soap, HeaderBlocksAreChecked) {
  EXPECT_EQ(violation(withHeader("<t:RequestServerVersion/>")),
            "The required attribute 'Version' is missing.");
  EXPECT_EQ(violation(withHeader("<t:RequestServerVersion Version='Exchange2010' Other='1'/>")),
            "The 'Other' attribute is not declared.");
  const std::string twice = "<t:RequestServerVersion Version='Exchange2010'/>";
  EXPECT_NE(violation(withHeader(twice + twice)), "");
  EXPECT_NE(violation(withHeader("<t:TimeZoneContext/>")), "");
  EXPECT_EQ(violation(withHeader("<t:TimeZoneContext><t:TimeZoneDefinition/></t:TimeZoneContext>")),
            "The required attribute 'Id' is missing.");
  EXPECT_EQ(violation(withHeader(
                "<t:TimeZoneContext><t:TimeZoneDefinition Id='UTC'/></t:TimeZoneContext>" + twice)),
            "");
}

TEST_F(Soap, ImpersonationNeedsAMailboxOfTheServer) {
  const auto impersonate = [](const std::string& element, const std::string& address) {
    return withHeader("<t:ExchangeImpersonation><t:ConnectingSID><t:" + element + ">" + address +
                      "</t:" + element + "></t:ConnectingSID></t:ExchangeImpersonation>");
  };
  EXPECT_EQ(send(impersonate("PrimarySmtpAddress", "bob@example.com")).status, 200);
  EXPECT_EQ(send(impersonate("PrimarySMTPAddress", "BOB@example.com")).status, 200);
  EXPECT_TRUE(isFault(send(impersonate("SmtpAddress", "nobody@example.com")), 500,
                      "ErrorNonExistentMailbox"));
  EXPECT_NE(violation(impersonate("Nickname", "bob@example.com")), "");
  EXPECT_NE(violation(withHeader("<t:ExchangeImpersonation/>")), "");
  EXPECT_NE(violation(withHeader(
                "<t:ExchangeImpersonation><t:ConnectingSID/></t:ExchangeImpersonation>")),
            "");
}

TEST_F(Soap, ForeignHeaderBlocksAreIgnoredUnlessTheyMustBeUnderstood) {
  EXPECT_EQ(send(withHeader("<x:Trace xmlns:x='urn:x'>1</x:Trace>")).status, 200);
  const HttpReply reply = send(withHeader("<x:Trace xmlns:x='urn:x' s:mustUnderstand='1'/>"));
  EXPECT_EQ(reply.status, 500);
  EXPECT_EQ(Answer(reply).text("//faultcode"), "s:MustUnderstand");
}

TEST_F(Soap, MalformedXmlIsABadRequest) {
  for (const char* text : {"", "<a", "not xml", "<a/><b/>", "<!DOCTYPE a><a/>", "<a>&x;</a>"}) {
    EXPECT_TRUE(isFault(send(text), 400, "ErrorSchemaValidation")) << text;
  }
}

TEST_F(Soap, OtherContentTypesAreNotTaken) {
  for (const char* type :
       {"Content-Type: application/json", "Content-Type:", "Content-Type: text/xmlish",
        "Content-Type: multipart/form-data; boundary=x"}) {
    HttpClient other(
        HttpOptions{.user = "alice@example.com:secret", .headers = {type}, .caFile = {}});
    EXPECT_EQ(other.post(server.url(), envelope(resolveNamesFor("alice"))).status, 415) << type;
  }
}

}  // namespace
}  // namespace tarnwell::sandbox::test
