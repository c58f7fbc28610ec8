#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/transport/TWHTTPResponse.h"
#include "tarnwell/util/TWError.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

/// What came of one request: the answer, its body and the body parsed, or why there is none.
///
/// A plain record: what was received is in public fields, only what is made of them is asked for by
/// operations. Cheap to move. Any status is an answer, not an error: look at `response`.
///
///     const TWResponse record = connection->get(url);
///     if (record.error) std::cerr << record.error;
///     else if (record.xmlDoc) use(record.xmlDoc.rootElement());
struct TWResponse {
  /// The absolute URL that answered: the last one when redirects were followed.
  std::string url;
  /// Where a redirect that was refused points to. Set, as is `needsRedirect`, on the record of the
  /// request that met the redirect only, whatever `error` says on later ones.
  std::string redirectUrl;
  bool needsRedirect = false;
  /// Status and header fields; absent for streamed data and when no server answered.
  std::optional<TWHTTPResponse> response;
  /// The body's bytes, decoded when the server compressed them.
  TWData data;
  /// A failure of the transport (`TWHTTPErrorDomain`), or code 1 of the catalogue with the target
  /// under "url" once the connection has refused a redirect.
  TWError error;
  /// The body as a document; invalid when it is none. That is no error here.
  NKXMLDocument xmlDoc;

  /// Stores the body and parses it: the bytes in the encoding they declare, or else as UTF-8 text.
  void setData(TWData bytes);

  /// `xmlDoc` as text, absent without one. Written anew by every call, for few records are ever
  /// printed.
  [[nodiscard]] std::optional<std::string> xml() const;

  /// "[TWResponse] " and the answer's status, or "(null)" without one.
  [[nodiscard]] std::string description() const;
  friend std::ostream& operator<<(std::ostream& stream, const TWResponse& response);
};

}  // namespace tarnwell
