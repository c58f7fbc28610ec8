#include <barrier>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/globals.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/Core/XML/NKXMLElement.h"

namespace tarnwell {
namespace {

void inThreads(int count, const std::function<void(int)>& work) {
  std::vector<std::thread> threads;
  threads.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) threads.emplace_back(work, i);
  for (auto& thread : threads) thread.join();
}

TEST(XMLThreads, AThreadWithoutFailuresHasNoLastError) {
  EXPECT_FALSE(NKXMLDocument::withXMLString("<a>"));
  inThreads(1, [](int) { EXPECT_FALSE(NKXMLNode::lastError()); });
  EXPECT_TRUE(NKXMLNode::lastError());
}

TEST(XMLThreads, ErrorsAreKeptForEachThreadAndNeverPrinted) {
  testing::internal::CaptureStderr();
  std::barrier<> failed(3);
  const std::vector<std::pair<std::string, int>> rows = {
      {"<a>", 77}, {"<a></b>", 76}, {"<a/><b/>", 5}};
  inThreads(3, [&](int i) {
    const auto& [xml, code] = rows[static_cast<std::size_t>(i)];
    EXPECT_FALSE(NKXMLDocument::withXMLString(xml));
    failed.arrive_and_wait();
    const auto error = NKXMLNode::lastError();
    EXPECT_EQ(error.domain(), NKXMLErrorDomain);
    EXPECT_EQ(error.code(), code);
    EXPECT_NE(error.message(), "");
    EXPECT_FALSE(error.message().ends_with('\n'));
  });
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(XMLThreads, TreesAreIndependentOfEachOther) {
  inThreads(4, [](int i) {
    for (int round = 0; round < 200; ++round) {
      auto root = NKXMLDocument::withXMLString("<r xmlns='u'><a>text</a><b/></r>").rootElement();
      auto part = root.elementForName("a");
      part.detach();
      auto other = NKXMLElement::withName("o" + std::to_string(i));
      other.addChild(part);
      EXPECT_NE(other.copy().XMLString(), "");
      EXPECT_FALSE(NKXMLDocument::withXMLString("<a>"));
      EXPECT_FALSE(other.nodesForXPath("//["));
    }
  });
}

TEST(XMLThreads, DetachedPartsOfOneTreeMayGoToDifferentThreads) {
  std::vector<NKXMLElement> parts;
  {
    std::string xml = "<r xmlns:p='u'>";
    for (int i = 0; i < 4; ++i) xml += "<p:part n='1'><p:a>ab</p:a><p:b>longer text</p:b></p:part>";
    auto root = NKXMLDocument::withXMLString(xml + "</r>").rootElement();
    parts = root.elementsForName("p:part");
    for (auto& part : parts) part.detach();
  }
  inThreads(4, [&](int i) {
    auto part = std::move(parts[static_cast<std::size_t>(i)]);
    for (int round = 0; round < 200; ++round) {
      auto child = part.firstChild();
      child.detach();
      child.setName("p:renamed");
      auto holder = NKXMLElement::withName("h");
      holder.addChild(child);
      child.detach();
      part.addChild(child);
      part.addAttributeWithName("n", std::to_string(round));
      EXPECT_EQ(part.childCount(), 2U);
      EXPECT_EQ(part.nodesForXPath("/*/*")->size(), 2U);
    }
    EXPECT_NE(part.XMLString(), "");
  });
}

TEST(XMLThreads, ADocumentIsWrittenBesideAPartThatWasDetached) {
  const auto document = NKXMLDocument::withXMLString("<r k='\xC3\xA9'><part a='\xC3\xA9'/></r>");
  auto part = document.rootElement().elementForName("part");
  part.detach();
  inThreads(2, [&](int i) {
    for (int round = 0; round < 200; ++round) {
      if (i == 0)
        EXPECT_THAT(document.XMLString(), testing::HasSubstr("<r k=\"\xC3\xA9\"></r>"));
      else
        EXPECT_EQ(part.XMLString(), "<part a=\"\xC3\xA9\"></part>");
    }
  });
}

std::vector<NKXMLElement> detachedParts(int count, std::string_view each) {
  std::string xml = "<r xmlns:p='u'>";
  for (int i = 0; i < count; ++i) xml += each;
  auto root = NKXMLDocument::withXMLString(xml + "</r>").rootElement();
  std::vector<NKXMLElement> parts(root.childElements().begin(), root.childElements().end());
  for (auto& part : parts) part.detach();
  return parts;
}

TEST(XMLThreads, DetachedPartsOfOneTreeTakeNewNamesOnDifferentThreads) {
  auto parts = detachedParts(4, "<p/>");
  inThreads(4, [&](int i) {
    auto part = std::move(parts[static_cast<std::size_t>(i)]);
    for (int round = 0; round < 2000; ++round) {
      const auto name = "a" + std::to_string(i) + "-" + std::to_string(round);
      part.addAttributeWithName(name, "1");
      EXPECT_EQ(part.attributeForName(name).name(), name);
      if (round % 50 == 0) part.setAttributes({});
    }
  });
}

TEST(XMLThreads, PartsOfOneGroupComeAndGoOnDifferentThreads) {
  auto parts = detachedParts(4, "<part p:n='1'><a/><b/></part>");
  inThreads(4, [&](int i) {
    auto part = std::move(parts[static_cast<std::size_t>(i)]);
    for (int round = 0; round < 3000; ++round) {
      auto child = part.firstChild();
      child.detach();
      part.addChild(child);
      auto attribute = part.attributeForName("p:n");
      attribute.detach();
      part.addAttribute(attribute);
      auto declaration = part.namespaceForPrefix("p");
      declaration.detach();
      part.addNamespace(declaration);
      EXPECT_EQ(declaration.parent(), part);
    }
    EXPECT_EQ(part.childCount(), 2U);
  });
}

TEST(XMLThreads, ADetachedAttributeAndItsOldElementAreIndependent) {
  auto root = NKXMLElement::withXMLString("<r xmlns:p='a-long-enough-uri' p:a='1'/>");
  auto attribute = root.attributeForName("p:a");
  attribute.detach();
  std::vector<std::function<void()>> works = {
      [&, root]() mutable {
        for (int round = 0; round < 2000; ++round)
          root.namespaceForPrefix("p").setStringValue("uri-number-" + std::to_string(round));
      },
      [&] {
        for (int round = 0; round < 2000; ++round) EXPECT_EQ(attribute.URI(), "a-long-enough-uri");
      }};
  inThreads(2, [&](int i) { works[static_cast<std::size_t>(i)](); });
}

TEST(XMLThreads, TheLastHandleMayBeDroppedOnAnotherThread) {
  auto element = NKXMLElement::withXMLString("<r xmlns:p='u'><a p:b='1'>text</a></r>");
  auto other = NKXMLElement::withName("o");
  other.addChild(element);
  auto child = element.firstChild();
  child.detach();
  element = {};
  other = {};
  inThreads(1, [child = std::move(child)](int) mutable {
    EXPECT_EQ(child.stringValue(), "text");
    child = {};
  });
}

TEST(XMLThreads, HandlesAreCopiedAndDroppedOnAnyThread) {
  auto root = NKXMLElement::withXMLString("<r><a/></r>");
  inThreads(4, [&](int) {
    for (int round = 0; round < 1000; ++round) {
      NKXMLNode copy = root;
      copy = copy.firstChild();
      EXPECT_TRUE(copy);
    }
  });
}

TEST(XMLThreads, BlankTextIsDroppedWhateverTheProgramDidToTheParsersGlobals) {
  const int keep = xmlKeepBlanksDefault(1);
  const int substitute = xmlSubstituteEntitiesDefault(1);
  const auto count = [] {
    return NKXMLDocument::withXMLString("<a> <b/> \n<c/></a>").rootElement().childCount();
  };
  EXPECT_EQ(count(), 2U);
  inThreads(1, [&](int) {
    xmlKeepBlanksDefault(1);
    EXPECT_EQ(count(), 2U);
  });
  xmlKeepBlanksDefault(keep);
  xmlSubstituteEntitiesDefault(substitute);
}

TEST(XMLThreads, TextIsWrittenTheSameWhateverTheProgramDidToTheWritersGlobals) {
  const auto element = NKXMLElement::withXMLString("<a><b><c/></b></a>");
  constexpr auto kPretty = "<a>\n  <b>\n    <c/>\n  </b>\n</a>";
  const auto writeWithOtherGlobals = [&] {
    const int noEmptyTags = std::exchange(xmlSaveNoEmptyTags, 1);
    const int indents = std::exchange(xmlIndentTreeOutput, 0);
    const char* indentation = std::exchange(xmlTreeIndentString, "\t");
    EXPECT_EQ(element.prettyXMLString(), kPretty);
    EXPECT_EQ(element.compactXMLString(), "<a><b><c/></b></a>");
    EXPECT_EQ(element.XMLString(), "<a><b><c></c></b></a>");
    // They are the program's, and stay as it has set them.
    EXPECT_EQ(std::exchange(xmlSaveNoEmptyTags, noEmptyTags), 1);
    EXPECT_EQ(std::exchange(xmlIndentTreeOutput, indents), 0);
    EXPECT_STREQ(std::exchange(xmlTreeIndentString, indentation), "\t");
  };
  writeWithOtherGlobals();
  inThreads(1, [&](int) { writeWithOtherGlobals(); });
  EXPECT_EQ(element.prettyXMLString(), kPretty);
}

TEST(XMLThreads, TheProgramsOwnPrinterOfErrorsStaysInPlace) {
  struct Host {
    static void print(void* context, const char*, ...) { ++*static_cast<int*>(context); }
  };
  int calls = 0;
  xmlSetGenericErrorFunc(&calls, Host::print);
  EXPECT_FALSE(NKXMLElement::withName("a").nodesForXPath("foo()"));
  EXPECT_FALSE(NKXMLDocument::withXMLString("<a>"));
  EXPECT_EQ(calls, 0);
  xmlGenericError(xmlGenericErrorContext, "%s", "the program's own");
  EXPECT_EQ(calls, 1);
  xmlSetGenericErrorFunc(nullptr, nullptr);
}

TEST(XMLThreads, TheProgramsOwnErrorHandlerStaysInPlace) {
  struct Host {
    static void handle(void* context, xmlError*) { ++*static_cast<int*>(context); }
    static bool parses(const std::string& xml) {
      auto* doc = xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr, nullptr, 0);
      xmlFreeDoc(doc);
      return doc != nullptr;
    }
  };
  int calls = 0;
  xmlSetStructuredErrorFunc(&calls, Host::handle);
  EXPECT_FALSE(NKXMLDocument::withXMLString("<a>"));
  EXPECT_FALSE(NKXMLElement::withName("a").nodesForXPath("//["));
  static_cast<void>(NKXMLElement::withName("a").XMLString());
  EXPECT_EQ(calls, 0) << "failures of ours are not the program's";
  EXPECT_FALSE(Host::parses("<a>"));
  EXPECT_GT(calls, 0);
  xmlSetStructuredErrorFunc(nullptr, nullptr);
}

// Lets allocations of one thread fail, to see a text that cannot be written.
thread_local bool failAllocations = false;
void* failingMalloc(std::size_t size) { return failAllocations ? nullptr : std::malloc(size); }
void* failingRealloc(void* old, std::size_t size) {
  return failAllocations ? nullptr : std::realloc(old, size);
}

TEST(XMLThreads, AFailedDumpGivesTheEmptyText) {
  // With a comment in it, since trees of elements alone are not dumped by libxml2.
  auto element = NKXMLElement::withName("a", "text");
  element.addChild(NKXMLNode::commentWithStringValue("k"));
  xmlFreeFunc oldFree = nullptr;
  xmlMallocFunc oldMalloc = nullptr;
  xmlReallocFunc oldRealloc = nullptr;
  xmlStrdupFunc oldStrdup = nullptr;
  xmlMemGet(&oldFree, &oldMalloc, &oldRealloc, &oldStrdup);
  xmlMemSetup(std::free, failingMalloc, failingRealloc, oldStrdup);
  testing::internal::CaptureStderr();
  failAllocations = true;
  const auto text = element.XMLString();
  failAllocations = false;
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  xmlMemSetup(oldFree, oldMalloc, oldRealloc, oldStrdup);
  EXPECT_EQ(text, "");
  EXPECT_EQ(element.XMLString(), "<a>text<!--k--></a>");
}

}  // namespace
}  // namespace tarnwell
