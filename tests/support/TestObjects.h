#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "tarnwell/util/TWObject.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell::test {

/// A model object as the upper layers make them, with everything a test wants to choose.
class FakeXMLObject : public TWXMLObject {
 public:
  explicit FakeXMLObject(Role role = Role::element, std::string name = "t:Fake")
      : role_(role), name_(std::move(name)) {}

  static std::shared_ptr<FakeXMLObject> make(Role role = Role::element,
                                             std::string name = "t:Fake") {
    return std::make_shared<FakeXMLObject>(role, std::move(name));
  }

  [[nodiscard]] std::string_view className() const override { return "FakeXMLObject"; }
  [[nodiscard]] std::string description() const override { return "[FakeXMLObject] " + name_; }
  [[nodiscard]] Role role() const override { return role_; }
  [[nodiscard]] NKXMLElement toXML(const TWVersion* version, TWError* error) override {
    lastVersion = version;
    if (failure) {
      setError(error, failure);
      return {};
    }
    return NKXMLElement::withName(name_);
  }
  [[nodiscard]] std::optional<std::string> constantText() const override { return constant; }
  [[nodiscard]] TWProperties declaredProperties() const override { return properties; }

  TWError failure;
  std::optional<std::string> constant;
  TWProperties properties;
  const TWVersion* lastVersion = nullptr;

 private:
  Role role_;
  std::string name_;
};

}  // namespace tarnwell::test
