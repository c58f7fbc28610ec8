#include "sandbox/search/Restriction.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/search/Values.h"
#include "sandbox/store/EwsError.h"

namespace tarnwell::sandbox {
namespace {

using Kind = Restriction::Kind;
using Comparison = Restriction::Comparison;
using Mode = Restriction::Mode;

struct ElementRow {
  std::string_view element;
  Kind kind;
  Comparison comparison = Comparison::equal;
};

constexpr std::array kElements{
    ElementRow{"And", Kind::all},
    ElementRow{"Or", Kind::any},
    ElementRow{"Not", Kind::none},
    ElementRow{"Exists", Kind::exists},
    ElementRow{"Excludes", Kind::excludes},
    ElementRow{"Contains", Kind::contains},
    ElementRow{"IsEqualTo", Kind::compare, Comparison::equal},
    ElementRow{"IsNotEqualTo", Kind::compare, Comparison::notEqual},
    ElementRow{"IsGreaterThan", Kind::compare, Comparison::greater},
    ElementRow{"IsGreaterThanOrEqualTo", Kind::compare, Comparison::greaterOrEqual},
    ElementRow{"IsLessThan", Kind::compare, Comparison::less},
    ElementRow{"IsLessThanOrEqualTo", Kind::compare, Comparison::lessOrEqual},
};
constexpr std::array<std::string_view, 5> kModes{"FullString", "Prefixed", "Substring",
                                                 "PrefixOnWords", "ExactPhrase"};
constexpr std::array<std::string_view, 8> kComparisons{"Exact",
                                                       "IgnoreCase",
                                                       "IgnoreNonSpacingCharacters",
                                                       "Loose",
                                                       "IgnoreCaseAndNonSpacingCharacters",
                                                       "LooseAndIgnoreCase",
                                                       "LooseAndIgnoreNonSpace",
                                                       "LooseAndIgnoreCaseAndIgnoreNonSpace"};

std::string readConstant(pugi::xml_node element) {
  ElementReader reader(element);
  reader.allowAttributes({"Value"});
  reader.end();
  return reader.requiredAttribute("Value");
}

PropertyPath readPath(ElementReader& reader, Schema schema) {
  reader.requireMore();
  const pugi::xml_node element = reader.next();
  if (!isPropertyPath(element)) reader.refuse(element);
  PropertyPath path = readPropertyPath(element, schema);
  if (path.uri == "item:MimeContent" || path.uri == "item:Attachments" ||
      path.uri == "item:EffectiveRights" || path.uri == "item:UniqueBody") {
    throw EwsError("ErrorUnsupportedPathForQuery");
  }
  return path;
}

void readOperand(pugi::xml_node holder, Schema schema, Restriction& result) {
  ElementReader reader(holder);
  reader.allowAttributes({});
  reader.requireMore();
  const pugi::xml_node operand = reader.next();
  if (isElement(operand, kTypesNs, "Constant")) {
    result.constant = readConstant(operand);
    if (!isValueOf(result.path, result.constant)) {
      throw EwsError("ErrorInvalidValueForProperty",
                     "The constant is no value of the property that it is compared with.");
    }
  } else if (isPropertyPath(operand)) {
    result.otherPath = readPropertyPath(operand, schema);
  } else {
    reader.refuse(operand);
  }
  reader.end();
}

void readContains(pugi::xml_node element, Schema schema, Restriction& result) {
  ElementReader reader(element);
  reader.allowAttributes({"ContainmentMode", "ContainmentComparison"});
  const std::string mode =
      reader.enumeration("ContainmentMode", "ContainmentModeType", kModes).value_or("FullString");
  const auto* const modeRow = std::ranges::find(kModes, mode);
  result.mode = static_cast<Mode>(modeRow - kModes.begin());
  const std::string comparison =
      reader.enumeration("ContainmentComparison", "ContainmentComparisonType", kComparisons)
          .value_or("Exact");
  result.ignoresCase = comparison.find("IgnoreCase") != std::string::npos;
  result.path = readPath(reader, schema);
  result.constant = readConstant(reader.required(kTypesNs, "Constant"));
  reader.end();
}

void readExcludes(pugi::xml_node element, Schema schema, Restriction& result) {
  ElementReader reader(element);
  reader.allowAttributes({});
  result.path = readPath(reader, schema);
  const std::string text = readConstant(reader.required(kTypesNs, "Bitmask"));
  reader.end();
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  const char* const end = text.data() + text.size();
  const auto [stopped, problem] =
      std::from_chars(text.data() + (hex ? 2 : 0), end, result.mask, hex ? 16 : 10);
  if (problem != std::errc() || stopped != end) {
    throw SoapFault::schemaViolation("The 'Value' attribute is invalid - The value '" + text +
                                     "' is no bit mask.");
  }
}

Restriction readExpression(ElementReader& parent, pugi::xml_node element, Schema schema) {
  const auto* const row = std::ranges::find(kElements, localName(element), &ElementRow::element);
  if (namespaceOf(element) != kTypesNs || row == kElements.end()) parent.refuse(element);
  Restriction result;
  result.kind = row->kind;
  result.comparison = row->comparison;
  if (result.kind == Kind::contains) {
    readContains(element, schema, result);
    return result;
  }
  if (result.kind == Kind::excludes) {
    readExcludes(element, schema, result);
    return result;
  }
  ElementReader reader(element);
  reader.allowAttributes({});
  if (result.kind == Kind::exists) {
    result.path = readPath(reader, schema);
    // The schema has no operand here, but clients in the field send one.
    reader.optional(kTypesNs, "FieldURIOrConstant");
  } else if (result.kind == Kind::compare) {
    result.path = readPath(reader, schema);
    readOperand(reader.required(kTypesNs, "FieldURIOrConstant"), schema, result);
  } else {
    reader.requireMore();
    do {
      result.children.push_back(readExpression(reader, reader.next(), schema));
    } while (reader.hasNext() && result.kind != Kind::none);
  }
  reader.end();
  return result;
}

bool isWordStart(const std::string& text, std::size_t at) {
  return at == 0 || text[at - 1] == ' ' || text[at - 1] == '\t' || text[at - 1] == '\n';
}

bool contains(Mode mode, const std::string& text, const std::string& wanted) {
  switch (mode) {
    case Mode::fullString:
      return text == wanted;
    case Mode::prefixed:
      return text.starts_with(wanted);
    case Mode::substring:
      return text.find(wanted) != std::string::npos;
    case Mode::prefixOnWords:
    case Mode::exactPhrase:
      break;
  }
  for (std::size_t at = text.find(wanted); at != std::string::npos;
       at = text.find(wanted, at + 1)) {
    const std::size_t end = at + wanted.size();
    const bool endsWord = end == text.size() || isWordStart(text, end + 1);
    if (isWordStart(text, at) && (mode == Mode::prefixOnWords || endsWord)) return true;
  }
  return false;
}

bool holds(Comparison comparison, int order) {
  switch (comparison) {
    case Comparison::equal:
      return order == 0;
    case Comparison::notEqual:
      return order != 0;
    case Comparison::greater:
      return order > 0;
    case Comparison::greaterOrEqual:
      return order >= 0;
    case Comparison::less:
      return order < 0;
    case Comparison::lessOrEqual:
      return order <= 0;
  }
  return false;
}

bool compares(const Restriction& restriction, const ValueSource& source) {
  const std::vector<std::string> values = source(restriction.path);
  const std::vector<std::string> others = restriction.otherPath
                                              ? source(*restriction.otherPath)
                                              : std::vector<std::string>{restriction.constant};
  const bool unequal = restriction.comparison == Comparison::notEqual;
  const Comparison wanted = unequal ? Comparison::equal : restriction.comparison;
  const bool found = std::ranges::any_of(values, [&](const std::string& value) {
    return std::ranges::any_of(others, [&](const std::string& other) {
      return holds(wanted, compareValues(restriction.path, value, other));
    });
  });
  return found != unequal;
}

}  // namespace

Restriction readRestriction(pugi::xml_node element, Schema schema) {
  ElementReader reader(element);
  reader.allowAttributes({});
  reader.requireMore();
  Restriction restriction = readExpression(reader, reader.next(), schema);
  reader.end();
  return restriction;
}

bool Restriction::matches(const ValueSource& values) const {
  const auto match = [&](const Restriction& child) { return child.matches(values); };
  switch (kind) {
    case Kind::all:
      return std::ranges::all_of(children, match);
    case Kind::any:
      return std::ranges::any_of(children, match);
    case Kind::none:
      return std::ranges::none_of(children, match);
    case Kind::exists:
      return !values(path).empty();
    case Kind::compare:
      return compares(*this, values);
    case Kind::excludes:
      return std::ranges::all_of(values(path), [&](const std::string& value) {
        std::uint32_t bits = 0;
        std::from_chars(value.data(), value.data() + value.size(), bits);
        return (bits & mask) == 0;
      });
    case Kind::contains: {
      const std::string wanted = ignoresCase ? foldCase(constant) : constant;
      return std::ranges::any_of(values(path), [&](const std::string& value) {
        return contains(mode, ignoresCase ? foldCase(value) : value, wanted);
      });
    }
  }
  return false;
}

}  // namespace tarnwell::sandbox
