// What a stream makes of the text that arrives, without a server.

#include <cstddef>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/protocol/TWConnectionStream.h"
#include "tarnwell/transport/TWNamespaces.h"

#include "tests/support/StreamAnswers.h"

namespace tarnwell {
namespace {

using test::heartbeat;
using test::indented;
using test::notification;
using test::statusDocument;
using test::streamDocument;

/// A stream that is told by hand what arrives.
class Stream {
 public:
  bool validate(std::string_view text) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    return stream_->validateData({bytes, text.size()});
  }
  [[nodiscard]] std::optional<std::string> fetched() const {
    const auto bytes = stream_->fetched();
    return bytes ? std::optional(std::string(bytes->begin(), bytes->end())) : std::nullopt;
  }

 private:
  std::shared_ptr<TWConnectionStream> stream_ = TWConnectionStream::withCredentials(nullptr, {});
};

TEST(TWStreamedText, SingleByteIsNoArrival) {
  Stream stream;
  EXPECT_FALSE(stream.validate(" "));
  EXPECT_EQ(stream.fetched(), std::nullopt);
  EXPECT_FALSE(stream.validate("<a/"));
  EXPECT_FALSE(stream.validate(">"));
  EXPECT_EQ(stream.fetched(), "<a/");
}

TEST(TWStreamedText, NothingIsKeptAtFirstAndForNothing) {
  Stream stream;
  EXPECT_FALSE(stream.validate(""));
  EXPECT_EQ(stream.fetched(), std::nullopt);
}

TEST(TWStreamedText, HeartbeatsAreDropped) {
  Stream stream;
  EXPECT_FALSE(stream.validate(heartbeat()));
  EXPECT_EQ(stream.fetched(), std::nullopt);
  EXPECT_FALSE(stream.validate(heartbeat() + "  " + heartbeat() + "   "));
  EXPECT_EQ(stream.fetched(), std::nullopt);
}

TEST(TWStreamedText, NotificationEndsTheWaitWithWhatCameWithIt) {
  Stream stream;
  EXPECT_FALSE(stream.validate(heartbeat()));
  const auto last = heartbeat() + "  " + notification();
  EXPECT_TRUE(stream.validate(last));
  EXPECT_EQ(stream.fetched(), last);
}

TEST(TWStreamedText, AfterThreeBatchesOfHeartbeatsOnlyTheLastTextIsKept) {
  Stream stream;
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(stream.validate(heartbeat() + "  " + heartbeat()));
  EXPECT_TRUE(stream.validate(notification()));
  EXPECT_EQ(stream.fetched(), notification());
}

TEST(TWStreamedText, AnyOtherDocumentEndsTheWait) {
  for (const auto& document :
       {std::string("<a/>"), test::faultEnvelope("ErrorServerBusy", "later"),
        statusDocument("Closed"), statusDocument("ok"), statusDocument(""),
        streamDocument("", "ErrorExpiredSubscription"),
        streamDocument("<m:ConnectionStatus>OK</m:ConnectionStatus>", "ErrorAccessDenied")}) {
    Stream stream;
    EXPECT_TRUE(stream.validate(document)) << document;
    EXPECT_EQ(stream.fetched(), document);
  }
}

TEST(TWStreamedText, StatusElsewhereThanInAHeartbeatsMessageEndsTheWait) {
  const auto renamed = [](std::string_view from, std::string_view to) {
    auto document = heartbeat();
    for (auto at = document.find(from); at != std::string::npos; at = document.find(from, at + 1))
      document.replace(at, from.size(), to);
    return document;
  };
  for (const auto& document :
       {renamed("m:ConnectionStatus", "t:ConnectionStatus"),
        renamed("m:GetStreamingEventsResponseMessage", "t:GetStreamingEventsResponseMessage"),
        renamed("m:ResponseMessages", "t:ResponseMessages"),
        renamed("m:GetStreamingEventsResponse>", "t:GetStreamingEventsResponse>"),
        renamed("http://schemas.xmlsoap.org/soap/envelope/",
                "http://www.w3.org/2003/05/soap-envelope"),
        test::envelope("<m:ConnectionStatus>OK</m:ConnectionStatus>")}) {
    ASSERT_NE(document, heartbeat());
    Stream stream;
    EXPECT_TRUE(stream.validate(document)) << document;
  }
}

TEST(TWStreamedText, DocumentIsRecognisedWithItsLastPart) {
  const auto document = notification();
  for (std::size_t cut = 2; cut + 2 <= document.size(); ++cut) {
    Stream stream;
    EXPECT_FALSE(stream.validate(std::string_view(document).substr(0, cut))) << cut;
    EXPECT_TRUE(stream.validate(std::string_view(document).substr(cut))) << cut;
    EXPECT_EQ(stream.fetched(), document);
  }
}

TEST(TWStreamedText, PartOfADocumentBehindAHeartbeatIsKept) {
  const auto document = notification();
  for (std::size_t cut = 2; cut + 2 <= document.size(); ++cut) {
    Stream stream;
    EXPECT_FALSE(stream.validate(heartbeat() + "  " + document.substr(0, cut)));
    EXPECT_EQ(stream.fetched(), document.substr(0, cut));
    EXPECT_TRUE(stream.validate(document.substr(cut))) << cut;
    EXPECT_EQ(stream.fetched(), document);
  }
}

TEST(TWStreamedText, PartOfADocumentBehindADecidingOneChangesNothing) {
  Stream stream;
  const auto text = notification() + "  <s:Envel";
  EXPECT_TRUE(stream.validate(text));
  EXPECT_EQ(stream.fetched(), text);
}

TEST(TWStreamedText, CharacterThatIsNotAllThereIsWaitedFor) {
  // Of two, three and four bytes, within a document and behind its end.
  for (const std::string character : {"\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x8C\xB2"}) {
    const auto document = notification(character);
    const auto at = document.find(character) + 1;
    Stream stream;
    EXPECT_FALSE(stream.validate(document.substr(0, at)));
    EXPECT_TRUE(stream.validate(document.substr(at)));
    EXPECT_EQ(stream.fetched(), document);
  }
  Stream stream;
  EXPECT_FALSE(stream.validate(notification() + "  \xC3"));
  EXPECT_TRUE(stream.validate("\xA9x")) << "decided once all of the text can be read";
}

TEST(TWStreamedText, TextThatIsNotUTF8DecidesNothing) {
  for (const std::string bad :
       {"\xFF", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x28"}) {
    Stream stream;
    EXPECT_FALSE(stream.validate(bad + "  " + notification())) << bad;
    EXPECT_FALSE(stream.validate("  " + notification())) << bad;
    EXPECT_EQ(stream.fetched(), bad + "  " + notification() + "  " + notification());
  }
}

TEST(TWStreamedText, PiecesThatDoNotParseHinderNoOther) {
  for (const std::string before : {"garbage  ", "    ", "<a>  ", "<a></b>  ", "</a>  ", "<?x  "}) {
    Stream stream;
    EXPECT_FALSE(stream.validate(before)) << before;
    EXPECT_TRUE(stream.validate(notification())) << before;
    EXPECT_EQ(stream.fetched(), before + notification());
  }
}

TEST(TWStreamedText, HeartbeatDropsWhatStoodBeforeIt) {
  Stream stream;
  EXPECT_FALSE(stream.validate("garbage  " + heartbeat() + "  more  garbage"));
  EXPECT_EQ(stream.fetched(), "more  garbage");
}

TEST(TWStreamedText, DocumentWithRunsOfBlanksIsCutAndNotRecognised) {
  // On purpose: two blanks are what separates documents.
  const std::string indented = "<a>\n  <b>\n    c\n  </b>\n</a>";
  Stream stream;
  EXPECT_FALSE(stream.validate(indented));
  EXPECT_EQ(stream.fetched(), indented);
}

TEST(TWStreamedText, ElementOfAnIndentedDocumentIsNoDocument) {
  // With each cut behind the code, which stands on a line of its own.
  const auto document = indented(notification());
  const auto code = document.find("</m:ResponseCode>");
  ASSERT_NE(document.find("  <m:ResponseCode>"), std::string::npos);
  for (auto cut = code + 2; cut + 2 <= document.size(); ++cut) {
    Stream stream;
    EXPECT_FALSE(stream.validate(document.substr(0, cut))) << cut;
    EXPECT_FALSE(stream.validate(document.substr(cut))) << cut;
    EXPECT_EQ(stream.fetched(), document);
  }
  Stream stream;
  EXPECT_FALSE(stream.validate(indented(heartbeat())));
  EXPECT_FALSE(stream.validate("  <m:ConnectionStatus>OK</m:ConnectionStatus>"));
  EXPECT_TRUE(stream.validate("  " + notification()));
}

TEST(TWStreamedText, WhiteSpaceMayStandBeforeADocument) {
  const std::string declaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";
  const auto document = declaration + notification();
  for (const std::string white : {" ", "\r\n", "\n", "\t", " \r\n \t\n"}) {
    Stream apart;
    EXPECT_FALSE(apart.validate(heartbeat() + "  " + white));
    EXPECT_EQ(apart.fetched(), std::nullopt) << "nothing is kept for it";
    EXPECT_TRUE(apart.validate(white + document));
    Stream together;
    EXPECT_FALSE(together.validate(declaration + heartbeat() + "  " + white + declaration));
    EXPECT_TRUE(together.validate(notification()));
    Stream behindGarbage;
    EXPECT_FALSE(behindGarbage.validate("garbage  " + white));
    EXPECT_TRUE(behindGarbage.validate(document));
    Stream beforeHeartbeat;
    EXPECT_FALSE(beforeHeartbeat.validate(white + declaration + heartbeat()));
    EXPECT_EQ(beforeHeartbeat.fetched(), std::nullopt);
  }
}

TEST(TWStreamedText, SeparatorMayArriveInHalves) {
  Stream stream;
  EXPECT_FALSE(stream.validate("<broken> "));
  EXPECT_TRUE(stream.validate(" <?xml version=\"1.0\"?>" + notification()));
}

TEST(TWStreamedText, DocumentIsWholeWhereItsRootEndsAndNowhereElse) {
  struct Text {
    std::string text;
    bool isWellFormed;
  };
  const Text texts[] = {
      {"<!-- <a/> --><a><![CDATA[</a>]]><?p </a>?><b c='/>' d=\"'</a\"/></a>", false},
      {"<!-- <a/> --><a><![CDATA[</a>]]><?p </a>?><b c='/>' d=\"'/>\"/></a>", true},
      {"<!DOCTYPE a [<!-- ]> ' --><!ELEMENT a ANY><!NOTATION n SYSTEM \"]>\"><?p ]>?>]><a>b</a>",
       true},
      {"<!DOCTYPE a PUBLIC \"[>\" 'x>'><a>]]<b/></a>", false},
      {"<!DOCTYPE a PUBLIC \"-//x//\" '[x>'><a>]]<b/></a>", true},
      {"\xEF\xBB\xBF<a>--></a >", true},
      {"<a><!-- > - -></a> - --></a>", true},
      {"<a><!--> - -></a> ---></a>", false},
      {"</a><a></a><a/>", false},
      {"<a b=\"<\">x</a>", false},
  };
  for (const auto& [text, isWellFormed] : texts) {
    Stream stream;
    bool isDecided = false;
    for (std::size_t at = 0; at < text.size() && !isDecided; at += 2) {
      // The last byte of an odd number does not come alone.
      const auto arrived = (text + " ").substr(at, 2);
      isDecided = static_cast<bool>(NKXMLDocument::withXMLString((text + " ").substr(0, at + 2)));
      ASSERT_EQ(stream.validate(arrived), isDecided) << text << "\nat " << at;
    }
    EXPECT_EQ(isDecided, isWellFormed) << text;
  }
}

/// The rule as it reads: everything again at each arrival.
class PlainStream {
 public:
  bool validate(const std::string& arrived) {
    if (arrived.size() == 1) return false;
    fetched += arrived;
    if (!isUTF8(fetched)) return false;
    std::size_t heard = 0;
    for (std::size_t begin = 0; begin <= fetched.size();) {
      const auto end = std::min(fetched.find("  ", begin), fetched.size());
      auto piece = fetched.substr(begin, end - begin);
      piece.erase(0, piece.find_first_not_of(kWhite));
      const auto document = NKXMLDocument::withXMLString(piece);
      begin = end + 2;
      if (!document || isOnlyAPart(document.rootElement())) continue;
      if (!isHeartbeat(document.rootElement())) return true;
      heard = std::min(begin, fetched.size());
    }
    if (heard == 0) return false;
    fetched.erase(0, heard);
    if (fetched.find_first_not_of(kWhite) == std::string::npos) fetched.clear();
    return false;
  }

  std::string fetched;

 private:
  static constexpr const char* kWhite = " \t\r\n";

  static bool isOnlyAPart(const NKXMLElement& root) {
    return !root.URI() && root.name()->find(':') != std::string::npos;
  }
  static bool isHeartbeat(const NKXMLElement& root) {
    const auto message =
        root.elementForName("Body", kSoapNamespace)
            .elementForName("GetStreamingEventsResponse", kMessagesNamespace)
            .elementForName("ResponseMessages", kMessagesNamespace)
            .elementForName("GetStreamingEventsResponseMessage", kMessagesNamespace);
    const auto code = message.elementForName("ResponseCode", kMessagesNamespace);
    return (!code || code.stringValue() == "NoError") &&
           message.elementForName("ConnectionStatus", kMessagesNamespace).stringValue() == "OK";
  }
  static bool isUTF8(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
      const auto lead = static_cast<unsigned char>(text[at]);
      const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
      if ((lead >= 0x80 && lead < 0xC2) || lead > 0xF4 || text.size() - at < length) return false;
      char32_t value = length == 1 ? lead : lead & (0xFFU >> (length + 1));
      for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[at + i]);
        if ((next & 0xC0U) != 0x80) return false;
        value = value << 6U | (next & 0x3FU);
      }
      constexpr char32_t kLeast[] = {0, 0x80, 0x800, 0x10000};
      if (value < kLeast[length - 1] || value > 0x10FFFF || (value >= 0xD800 && value < 0xE000))
        return false;
      at += length;
    }
    return true;
  }
};

TEST(TWStreamedText, AnswersAreThoseOfReadingEverythingAgain) {
  const std::string declaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";
  const std::vector<std::string> parts = {heartbeat(),
                                          heartbeat(),
                                          declaration + heartbeat(),
                                          heartbeat() + "<!-- end -->",
                                          indented(heartbeat()),
                                          indented(notification()),
                                          "<m:ResponseCode>NoError</m:ResponseCode>",
                                          notification("\xE2\x82\xAC"),
                                          notification("two  blanks"),
                                          statusDocument("Closed"),
                                          streamDocument("", "ErrorExpiredSubscription"),
                                          "  ",
                                          "  ",
                                          "  ",
                                          " ",
                                          "   ",
                                          "\r\n",
                                          "\t",
                                          "<",
                                          ">",
                                          "]]>",
                                          "<a>",
                                          "</a>",
                                          "<a/>",
                                          "<a b='",
                                          "<![CDATA[",
                                          "<!DOCTYPE a [",
                                          "<!--",
                                          "-->",
                                          "<?p ",
                                          "?>",
                                          "\xC3\xA9",
                                          "garbage"};
  std::mt19937 random(20261121);
  const auto upTo = [&](std::size_t most) {
    return std::uniform_int_distribution<std::size_t>(0, most)(random);
  };
  int decided = 0;
  int kept = 0;
  constexpr int kStreams = 1500;
  for (int i = 0; i < kStreams; ++i) {
    std::string text;
    for (auto count = 1 + upTo(5); count > 0; --count) text += parts[upTo(parts.size() - 1)];
    if (upTo(40) == 0) text[upTo(text.size() - 1)] = '\xFF';
    const std::size_t longest = upTo(7) == 0 ? 3 : 400;
    Stream stream;
    PlainStream plain;
    bool isDecided = false;
    for (std::size_t at = 0; at < text.size() && !isDecided;) {
      const auto arrived = text.substr(at, upTo(longest));
      at += arrived.size();
      isDecided = plain.validate(arrived);
      ASSERT_EQ(stream.validate(arrived), isDecided) << text << "\nat " << at;
      ASSERT_EQ(stream.fetched().value_or(""), plain.fetched) << text << "\nat " << at;
    }
    if (isDecided) ++decided;
    if (!isDecided && !plain.fetched.empty()) ++kept;
  }
  // All ends have been seen often.
  EXPECT_GT(decided, kStreams / 25);
  EXPECT_GT(kept, kStreams / 10);
  EXPECT_GT(kStreams - decided - kept, kStreams / 100);
}

}  // namespace
}  // namespace tarnwell
