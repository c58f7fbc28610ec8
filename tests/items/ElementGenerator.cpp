#include "tests/items/ElementGenerator.h"

#include <chrono>
#include <string_view>
#include <utility>

#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWBody.h"
#include "tarnwell/items/TWItem.h"
#include "tarnwell/schema/TWBase64Field.h"
#include "tarnwell/schema/TWBodyField.h"
#include "tarnwell/schema/TWChoiceField.h"
#include "tarnwell/schema/TWDateFields.h"
#include "tarnwell/schema/TWElementFields.h"
#include "tarnwell/schema/TWIndexedFields.h"
#include "tarnwell/schema/TWNumberFields.h"
#include "tarnwell/schema/TWTextFields.h"

namespace tarnwell::test {
namespace {

template <class Kind>
bool is(const TWField& field) {
  return dynamic_cast<const Kind*>(&field) != nullptr;
}

}  // namespace

std::shared_ptr<TWEWSElement> ElementGenerator::element(const TWElementClass& cls, unsigned share) {
  TWDictionary values;
  for (const auto& field : cls.fields()) {
    if (field->isReadOnly()) continue;
    // A mailbox is its address, the text of an element that has nothing else is never missing, and
    // the content of an attachment would be fetched.
    if (field->isRequired() || field->name() == "email_address" || is<TWSubField>(*field) ||
        field->name() == "_content" || is<TWItemField>(*field) || number(100) < share)
      values.set(field->name(), value(*field));
  }
  return cls.withDict(values);
}

TWValue ElementGenerator::value(const TWField& field) {
  using std::chrono::seconds;
  // Written as one text and read as many; written with a time that is not read; written in no
  // namespace. All of it deliberate.
  if (is<TWCharListField>(field) || is<TWDateField>(field) || is<TWNamedSubField>(field)) return {};
  if (is<TWItemField>(field)) return element(TWItem::elementClass(), 20);
  if (is<TWBooleanField>(field)) return number(2) == 1;
  if (is<TWIntegerField>(field)) return number(100'000);
  if (is<TWDateTimeField>(field)) return TWInstant(seconds(number(2'000'000'000)));
  if (is<TWBase64Field>(field)) {
    TWData bytes(number(50));
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(number(256));
    return bytes;
  }
  if (is<TWChoiceField>(field)) {
    const auto choices = field.get("choices").asList();
    return (*choices)[number(choices->size())];
  }
  if (is<TWBodyField>(field)) return TWHTMLBody(text());
  if (is<TWTextField>(field) || is<TWSubField>(field)) return text();
  if (is<TWAttachmentField>(field)) return list(TWFileAttachment::elementClass());
  const auto* const cls = field.valueClass().elementClass();
  if (cls == nullptr) return {};
  return field.isList() ? TWValue(list(*cls)) : TWValue(element(*cls, 70));
}

std::string ElementGenerator::text() {
  static constexpr std::string_view kPieces[] = {"a",
                                                 "Z",
                                                 "0",
                                                 " ",
                                                 "<",
                                                 ">",
                                                 "&",
                                                 "\"",
                                                 "'",
                                                 "]]>",
                                                 "&amp;",
                                                 "\t",
                                                 "\n",
                                                 "\r",
                                                 "\xC3\xBC",
                                                 "\xE2\x82\xAC",
                                                 "\xF0\x9F\x98\x80",
                                                 "--",
                                                 "%@",
                                                 "{",
                                                 "}"};
  std::string text = "x";
  for (auto left = number(30); left > 0; --left) text += kPieces[number(std::size(kPieces))];
  return text + "y";
}

TWList ElementGenerator::list(const TWElementClass& cls) {
  TWList list;
  for (auto left = 1 + number(3); left > 0; --left) list.emplace_back(element(cls, 70));
  return list;
}

}  // namespace tarnwell::test
