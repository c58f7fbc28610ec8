#include "sandbox/search/QueryString.h"

#include <algorithm>
#include <array>

#include "sandbox/detail/Directory.h"

namespace tarnwell::sandbox {
namespace {

using Kind = Restriction::Kind;

struct Scope {
  std::string_view name;
  std::string_view uri;
};

constexpr std::array kScopes{
    Scope{"subject", "item:Subject"},    Scope{"body", "item:Body"},
    Scope{"from", "message:From"},       Scope{"to", "message:ToRecipients"},
    Scope{"cc", "message:CcRecipients"}, Scope{"category", "item:Categories"},
};
// What a word without a scope is looked for in, beside those of the scopes.
constexpr std::array<std::string_view, 4> kMore{"contacts:DisplayName", "contacts:CompanyName",
                                                "contacts:EmailAddresses", "calendar:Location"};

Restriction containing(std::string_view uri, const std::string& word) {
  Restriction restriction;
  restriction.kind = Kind::contains;
  restriction.mode = Restriction::Mode::substring;
  restriction.ignoresCase = true;
  restriction.path.property = findProperty(uri);
  restriction.path.uri = uri;
  restriction.constant = word;
  return restriction;
}

Restriction lookFor(const std::string& word) {
  Restriction restriction;
  restriction.kind = Kind::any;
  for (const Scope& scope : kScopes) restriction.children.push_back(containing(scope.uri, word));
  for (const std::string_view uri : kMore) restriction.children.push_back(containing(uri, word));
  return restriction;
}

/// Cuts the next word off the front, the quotes around a phrase removed; they are at the front or
/// behind a scope.
std::string takeWord(std::string& rest) {
  std::string word;
  bool quoted = false;
  std::size_t at = 0;
  for (; at < rest.size(); ++at) {
    if (rest[at] == '"') {
      quoted = !quoted;
    } else if (rest[at] == ' ' && !quoted) {
      break;
    } else {
      word += rest[at];
    }
  }
  rest.erase(0, std::min(rest.find_first_not_of(' ', at), rest.size()));
  return word;
}

Restriction term(std::string word) {
  const bool negated = word.size() > 1 && word.starts_with('-');
  if (negated) word.erase(0, 1);
  const std::size_t colon = word.find(':');
  const std::string name = lowerCase(word.substr(0, colon));
  const auto* const scope = std::ranges::find(kScopes, name, &Scope::name);
  Restriction found = colon != std::string::npos && scope != kScopes.end()
                          ? containing(scope->uri, word.substr(colon + 1))
                          : lookFor(word);
  if (!negated) return found;
  Restriction result;
  result.kind = Kind::none;
  result.children.push_back(std::move(found));
  return result;
}

}  // namespace

Restriction readQueryString(const std::string& text) {
  Restriction all;
  std::string rest = text.substr(std::min(text.find_first_not_of(' '), text.size()));
  bool alternative = false;
  while (!rest.empty()) {
    std::string word = takeWord(rest);
    if (word == "AND" || word.empty()) continue;
    if (word == "OR") {
      alternative = !all.children.empty();
      continue;
    }
    if (word == "NOT" && !rest.empty()) word = "-" + takeWord(rest);
    Restriction next = term(std::move(word));
    if (alternative) {
      Restriction any;
      any.kind = Kind::any;
      any.children.push_back(std::move(all.children.back()));
      any.children.push_back(std::move(next));
      all.children.back() = std::move(any);
      alternative = false;
    } else {
      all.children.push_back(std::move(next));
    }
  }
  return all;
}

}  // namespace tarnwell::sandbox
