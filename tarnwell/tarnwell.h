#pragma once

/// @file
/// Everything of Tarnwell, and its version symbols.

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/Core/XML/NKXMLNode.h"
#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWAttendee.h"
#include "tarnwell/items/TWBody.h"
#include "tarnwell/items/TWEffectiveRights.h"
#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/items/TWMessageHeader.h"
#include "tarnwell/protocol/TWAutodiscover.h"
#include "tarnwell/protocol/TWBuild.h"
#include "tarnwell/protocol/TWBuilds.h"
#include "tarnwell/protocol/TWCredentials.h"
#include "tarnwell/protocol/TWProtocol.h"
#include "tarnwell/protocol/TWServiceContext.h"
#include "tarnwell/protocol/TWVersion.h"
#include "tarnwell/schema/TWBase64Field.h"
#include "tarnwell/schema/TWBodyField.h"
#include "tarnwell/schema/TWChoice.h"
#include "tarnwell/schema/TWChoiceField.h"
#include "tarnwell/schema/TWDateFields.h"
#include "tarnwell/schema/TWEWSElement.h"
#include "tarnwell/schema/TWElementClass.h"
#include "tarnwell/schema/TWElementFields.h"
#include "tarnwell/schema/TWEnumFields.h"
#include "tarnwell/schema/TWField.h"
#include "tarnwell/schema/TWFieldOptions.h"
#include "tarnwell/schema/TWIndexedFields.h"
#include "tarnwell/schema/TWMailboxFields.h"
#include "tarnwell/schema/TWNumberFields.h"
#include "tarnwell/schema/TWPropertyList.h"
#include "tarnwell/schema/TWTextFields.h"
#include "tarnwell/schema/TWTypedValue.h"
#include "tarnwell/schema/TWValueClass.h"
#include "tarnwell/services/TWEWSService.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/services/TWGetServerTimeZones.h"
#include "tarnwell/services/TWResolveNames.h"
#include "tarnwell/time/TWDateTime.h"
#include "tarnwell/time/TWInstant.h"
#include "tarnwell/time/TWTimeZone.h"
#include "tarnwell/transport/TWAuthType.h"
#include "tarnwell/transport/TWConnection.h"
#include "tarnwell/transport/TWHTTPResponse.h"
#include "tarnwell/transport/TWHeaders.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/transport/TWResponse.h"
#include "tarnwell/transport/TWStreamExchange.h"
#include "tarnwell/transport/TWTransport.h"
#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWError.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWLogger.h"
#include "tarnwell/util/TWObject.h"
#include "tarnwell/util/TWResult.h"
#include "tarnwell/util/TWText.h"
#include "tarnwell/util/TWUtils.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

/// The version of the library that was linked, as one number that grows: 1.02 for 1.2.x.
extern const double TarnwellVersionNumber;
/// The version of the library that was linked, "major.minor.patch".
extern const char* const TarnwellVersionString;

}  // namespace tarnwell
