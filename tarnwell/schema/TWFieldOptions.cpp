#include "tarnwell/schema/TWFieldOptions.h"

#include <array>

#include "tarnwell/schema/TWElementClass.h"

namespace tarnwell {
namespace {

using Options = TWFieldOptions;

/// One option: how it is read, set and removed by name.
struct Row {
  std::string_view name;
  TWValue (*get)(const Options&);
  bool (*set)(Options&, const TWValue&);
  void (*remove)(Options&);
};

template <std::optional<bool> Options::*Member>
constexpr Row flag(std::string_view name) {
  return {name, [](const Options& o) -> TWValue { return o.*Member; },
          [](Options& o, const TWValue& value) {
            const auto truth = value.asBool();
            if (truth) o.*Member = truth;
            return truth.has_value();
          },
          [](Options& o) { (o.*Member).reset(); }};
}

template <std::optional<std::string> Options::*Member>
constexpr Row text(std::string_view name) {
  return {name, [](const Options& o) -> TWValue { return o.*Member; },
          [](Options& o, const TWValue& value) {
            if (value.isText()) o.*Member = value.asText();
            return value.isText();
          },
          [](Options& o) { (o.*Member).reset(); }};
}

template <std::optional<double> Options::*Member>
constexpr Row number(std::string_view name) {
  return {name, [](const Options& o) -> TWValue { return o.*Member; },
          [](Options& o, const TWValue& value) {
            if (const auto bound = value.asDouble()) o.*Member = bound;
            return value.isNumber();
          },
          [](Options& o) { (o.*Member).reset(); }};
}

template <std::optional<TWBuild> Options::*Member>
constexpr Row build(std::string_view name) {
  return {name,
          [](const Options& o) -> TWValue {
            return o.*Member ? TWValue((o.*Member)->description()) : TWValue();
          },
          [](Options&, const TWValue&) { return false; }, [](Options& o) { (o.*Member).reset(); }};
}

bool neverSet(Options& /*options*/, const TWValue& /*value*/) { return false; }

template <class Entries, class TextOf>
TWValue textsOf(const Entries& entries, TextOf textOf) {
  if (entries.empty()) return {};
  TWList texts;
  texts.reserve(entries.size());
  for (const auto& entry : entries) texts.emplace_back(textOf(entry));
  return texts;
}

/// The defaults of every field come first, as they are the first that a field is given.
constexpr std::array kRows = {
    flag<&Options::isRequired>("isRequired"),
    flag<&Options::isRequiredAfterSave>("isRequiredAfterSave"),
    flag<&Options::isReadOnly>("isReadOnly"),
    flag<&Options::isReadOnlyAfterSend>("isReadOnlyAfterSend"),
    flag<&Options::isSearchable>("isSearchable"),
    flag<&Options::isAttribute>("isAttribute"),
    text<&Options::name>("name"),
    text<&Options::fieldURI>("fieldURI"),
    text<&Options::fieldURIPostfix>("fieldURIPostfix"),
    Row{"valueCls",
        [](const Options& o) -> TWValue {
          return o.valueCls == nullptr ? TWValue() : TWValue(o.valueCls->name());
        },
        neverSet, [](Options& o) { o.valueCls = nullptr; }},
    Row{"default", [](const Options& o) { return o.default_; },
        [](Options& o, const TWValue& value) {
          o.default_ = value;
          return true;
        },
        [](Options& o) { o.default_ = TWValue(); }},
    build<&Options::supportedFrom>("supportedFrom"),
    build<&Options::deprecatedFrom>("deprecatedFrom"),
    number<&Options::min>("min"),
    number<&Options::max>("max"),
    Row{"enum",
        [](const Options& o) {
          return textsOf(o.enum_, [](const std::string& name) { return name; });
        },
        [](Options& o, const TWValue& value) {
          const auto list = value.asList();
          if (!list) return false;
          std::vector<std::string> names;
          for (const auto& name : *list) {
            if (!name.isText()) return false;
            names.push_back(*name.asText());
          }
          o.enum_ = std::move(names);
          return true;
        },
        [](Options& o) { o.enum_.clear(); }},
    Row{"maxLength", [](const Options& o) -> TWValue { return o.maxLength; },
        [](Options& o, const TWValue& value) {
          const auto length = value.asInteger();
          if (!length || *length < 0) return false;
          o.maxLength = static_cast<std::size_t>(*length);
          return true;
        },
        [](Options& o) { o.maxLength.reset(); }},
    Row{"choices",
        [](const Options& o) {
          return textsOf(o.choices, [](const TWChoice& choice) { return choice.value; });
        },
        neverSet, [](Options& o) { o.choices.clear(); }},
};

const Row* rowOf(std::string_view option) {
  for (const auto& row : kRows)
    if (row.name == option) return &row;
  return nullptr;
}

}  // namespace

TWValue TWFieldOptions::get(std::string_view option) const {
  const auto* const row = rowOf(option);
  return row == nullptr ? TWValue() : row->get(*this);
}

bool TWFieldOptions::set(std::string_view option, const TWValue& value) {
  const auto* const row = rowOf(option);
  return row != nullptr && !value.isAbsent() && row->set(*this, value);
}

void TWFieldOptions::remove(std::string_view option) {
  if (const auto* const row = rowOf(option)) row->remove(*this);
}

std::vector<std::pair<std::string_view, TWValue>> TWFieldOptions::all() const {
  std::vector<std::pair<std::string_view, TWValue>> set;
  for (const auto& row : kRows)
    if (auto value = row.get(*this); !value.isAbsent())
      set.emplace_back(row.name, std::move(value));
  return set;
}

}  // namespace tarnwell
