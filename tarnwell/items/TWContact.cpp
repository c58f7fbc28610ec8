#include "tarnwell/items/TWContact.h"

#include "tarnwell/items/detail/ItemFields.h"
#include "tarnwell/schema/TWChoiceField.h"
#include "tarnwell/schema/TWDateFields.h"
#include "tarnwell/schema/TWIndexedFields.h"
#include "tarnwell/schema/TWNumberFields.h"
#include "tarnwell/schema/TWTextFields.h"

namespace tarnwell {
namespace {

/// Which names "file_as" is made of. The last five came later than the others.
std::vector<TWChoice> fileAsMappings() {
  return {"None",
          "LastCommaFirst",
          "FirstSpaceLast",
          "Company",
          "LastCommaFirstCompany",
          "CompanyLastFirst",
          "LastFirst",
          "LastFirstCompany",
          "CompanyLastCommaFirst",
          "LastFirstSuffix",
          "LastSpaceFirstCompany",
          "CompanyLastSpaceFirst",
          "LastSpaceFirst",
          {"DisplayName", kExchange2010},
          {"FirstName", kExchange2010},
          {"LastFirstMiddleSuffix", kExchange2010},
          {"LastName", kExchange2010},
          {"Empty", kExchange2010}};
}

TWFields contactFields() {
  using namespace detail;
  return {
      field<TWCharField>("file_as", "contacts:FileAs"),
      field<TWChoiceField>("file_as_mapping", "contacts:FileAsMapping", oneOf(fileAsMappings())),
      field<TWCharField>("display_name", "contacts:DisplayName"),
      field<TWCharField>("given_name", "contacts:GivenName"),
      field<TWCharField>("initials", "contacts:Initials"),
      field<TWCharField>("middle_name", "contacts:MiddleName"),
      field<TWCharField>("nickname", "contacts:Nickname"),
      field<TWCharField>("company_name", "contacts:CompanyName"),
      field<TWEmailAddressField>("email_addresses", "contacts:EmailAddress"),
      field<TWPhysicalAddressField>("physical_addresses", "contacts:PhysicalAddress"),
      field<TWPhoneNumberField>("phone_numbers", "contacts:PhoneNumber"),
      field<TWCharField>("assistant_name", "contacts:AssistantName"),
      field<TWDateTimeField>("birthday", "contacts:Birthday"),
      field<TWURIField>("business_homepage", "contacts:BusinessHomePage"),
      field<TWCharListField>("children", "contacts:Children"),
      field<TWCharListField>("companies", "contacts:Companies"),
      field<TWChoiceField>("contact_source", "contacts:ContactSource",
                           readOnlyOneOf({"ActiveDirectory", "Store"})),
      field<TWCharField>("department", "contacts:Department"),
      field<TWCharField>("generation", "contacts:Generation"),
      field<TWCharField>("im_addresses", "contacts:ImAddresses"),
      field<TWCharField>("job_title", "contacts:JobTitle"),
      field<TWCharField>("manager", "contacts:Manager"),
      field<TWCharField>("mileage", "contacts:Mileage"),
      field<TWCharField>("office", "contacts:OfficeLocation"),
      field<TWChoiceField>("postal_address_index", "contacts:PostalAddressIndex",
                           oneOf({"None", "Business", "Home", "Other"})),
      // The URI is spelt so deliberately.
      field<TWCharField>("profession", "contacts:Profression"),
      field<TWCharField>("spouse_name", "contacts:SpouseName"),
      field<TWCharField>("surname", "contacts:Surname"),
      field<TWDateTimeField>("wedding_anniversary", "contacts:WeddingAnniversary"),
      field<TWBooleanField>("has_picture", "contacts:HasPicture", readOnly(kExchange2010)),
  };
}

}  // namespace

const TWElementClass& TWContact::elementClass() {
  static const auto& kClass = *new TWElementClass({.name = "TWContact",
                                                   .base = &TWItem::elementClass(),
                                                   .elementName = "Contact",
                                                   .fields = &contactFields,
                                                   .make = &detail::makeElement<TWContact>});
  return kClass;
}

}  // namespace tarnwell
