#include "tarnwell/protocol/detail/MarkupScanner.h"

#include <algorithm>

namespace tarnwell::detail {

void MarkupScanner::advance(std::string_view text) noexcept {
  bool goesOn = true;
  while (goesOn) {
    switch (state_) {
      case State::text:
        goesOn = passText(text);
        break;
      case State::startTag:
      case State::endTag:
        goesOn = passTag(text);
        break;
      case State::declaration:
        goesOn = passDeclaration(text);
        break;
      case State::comment:
        goesOn = close(text, "-->");
        break;
      case State::cdata:
        goesOn = close(text, "]]>");
        break;
      case State::instruction:
        goesOn = close(text, "?>");
        break;
    }
  }
  isWhole_ = state_ == State::text && at_ >= text.size() && hasRoot_ && depth_ == 0;
}

/// Steps to the next `a`, `b` or ">", over what is quoted; false when there is none yet.
bool MarkupScanner::passTo(std::string_view text, char a, char b) noexcept {
  for (; at_ < text.size(); ++at_) {
    const char c = text[at_];
    if (quote_ != 0) {
      if (c == quote_) quote_ = 0;
    } else if (c == '"' || c == '\'') {
      quote_ = c;
    } else if (c == '>' || c == a || c == b) {
      return true;
    }
  }
  return false;
}

bool MarkupScanner::passText(std::string_view text) noexcept {
  at_ = isInSubset_ ? text.find_first_of("<]", at_) : text.find('<', at_);
  if (at_ == std::string_view::npos) {
    at_ = text.size();
    return false;
  }
  if (text[at_] == '<') return open(text);
  isInSubset_ = false;
  state_ = State::declaration;
  ++at_;
  return true;
}

/// Takes the beginning of a piece of markup; false when too little of it is there to tell its kind.
bool MarkupScanner::open(std::string_view text) noexcept {
  struct Opening {
    std::string_view mark;
    State state;
  };
  // The first that fits counts.
  static constexpr Opening kOpenings[] = {{"<!--", State::comment},   {"<![CDATA[", State::cdata},
                                          {"<?", State::instruction}, {"<!", State::declaration},
                                          {"</", State::endTag},      {"<", State::startTag}};
  const auto rest = text.substr(at_);
  for (const auto& [mark, state] : kOpenings) {
    if (rest.size() < mark.size() && mark.starts_with(rest)) return false;
    if (!rest.starts_with(mark)) continue;
    state_ = state;
    at_ += mark.size();
    start_ = at_;
    return true;
  }
  return false;
}

bool MarkupScanner::close(std::string_view text, std::string_view end) noexcept {
  // The mark may have begun in what was looked at before.
  const auto from = std::max(start_, at_ - std::min(at_, end.size() - 1));
  const auto found = text.find(end, from);
  if (found == std::string_view::npos) {
    at_ = std::max(at_, text.size());
    return false;
  }
  at_ = found + end.size();
  state_ = State::text;
  return true;
}

bool MarkupScanner::passTag(std::string_view text) noexcept {
  if (!passTo(text, '>', '>')) return false;
  if (state_ == State::endTag)
    --depth_;
  else if (text[at_ - 1] != '/')
    ++depth_;
  hasRoot_ = true;
  state_ = State::text;
  ++at_;
  return true;
}

bool MarkupScanner::passDeclaration(std::string_view text) noexcept {
  if (!passTo(text, isInSubset_ ? '>' : '[', '>')) return false;
  if (text[at_] == '[') isInSubset_ = true;
  state_ = State::text;
  ++at_;
  return true;
}

}  // namespace tarnwell::detail
