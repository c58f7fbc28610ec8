#include "tarnwell/protocol/TWConnectionStream.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "tarnwell/protocol/detail/StreamedText.h"
#include "tarnwell/transport/detail/ConnectionParts.h"
#include "tarnwell/transport/detail/HTTPTransfer.h"
#include "tarnwell/transport/detail/Wipe.h"

namespace tarnwell {
namespace {

/// Without the white space at its beginning.
std::span<const std::uint8_t> withoutIndent(std::span<const std::uint8_t> bytes) {
  constexpr std::string_view kWhite = " \t\r\n";
  const auto first = std::ranges::find_if(bytes, [&](std::uint8_t byte) {
    return kWhite.find(static_cast<char>(byte)) == std::string_view::npos;
  });
  return bytes.subspan(static_cast<std::size_t>(first - bytes.begin()));
}

/// With its markup, or with a byte order mark.
bool mayBeginADocument(std::uint8_t byte) { return byte == '<' || byte == 0xEF; }

}  // namespace

std::shared_ptr<TWConnectionStream> TWConnectionStream::withCredentials(
    std::shared_ptr<TWCredentials> credentials, TWHTTPRequest request,
    const TWConnectionOptions& options) {
  return std::shared_ptr<TWConnectionStream>(
      new TWConnectionStream(std::move(credentials), std::move(request), options));
}

TWConnectionStream::TWConnectionStream(std::shared_ptr<TWCredentials> credentials,
                                       TWHTTPRequest request, const TWConnectionOptions& options)
    : credentials_(std::move(credentials)),
      request_(std::move(request)),
      idleLimit_(options.streamIdleLimit),
      textLimit_(options.streamTextLimit),
      transfer_(std::make_unique<detail::HTTPTransfer>(detail::transferOptions(options))),
      text_(std::make_unique<detail::StreamedText>()) {}

TWConnectionStream::~TWConnectionStream() {
  for (auto& [name, value] : request_.headers) detail::wipe(value);
}

std::optional<TWData> TWConnectionStream::await() {
  arm();
  detail::HTTPRequest exchange;
  exchange.url = request_.url;
  exchange.method = request_.method;
  exchange.headers = request_.headers;
  if (request_.body) exchange.body = *request_.body;
  exchange.followsRedirects = request_.followsRedirects;
  exchange.login = detail::passwordLogin(credentials_.get());
  exchange.idleLimit = idleLimit_;
  exchange.cancelled = &isCancelled_;
  exchange.acceptsCertificate = [this](bool trusted) {
    return trusted || allowInsecureCertificate_;
  };
  exchange.receive = [this](std::span<const std::uint8_t> arrived) { return receive(arrived); };
  // Failures are not reported: the caller judges what was collected, and nothing is a result, too.
  detail::HTTPResult result = transfer_->perform(exchange);
  for (auto& [name, value] : exchange.headers) detail::wipe(value);
  if (exchange.login) detail::wipe(exchange.login->password);
  if (result.error.is(TWHTTPErrorDomain, TWHTTPErrorCancelled)) wasCancelled_ = true;
  if (result.redirectTarget.empty()) return fetched();
  refusedRedirect_ = std::move(result.redirectTarget);
  return std::nullopt;  // the page of a redirect is no event
}

/// False when the wait is over.
bool TWConnectionStream::receive(std::span<const std::uint8_t> arrived) {
  // The transfer sees it only when nothing more is there to read, which with a server that talks
  // without a pause may take a while.
  wasCancelled_ = isCancelled_;
  if (wasCancelled_) return false;
  // Between documents, white space and single bytes only keep the line open: nothing is kept for
  // them.
  if (text_->bytes().empty()) {
    arrived = withoutIndent(arrived);
    if (arrived.empty() || (arrived.size() == 1 && !mayBeginADocument(arrived[0]))) return true;
  }
  return text_->bytes().size() + arrived.size() <= textLimit_ && !text_->take(arrived);
}

void TWConnectionStream::cancel() {
  if (!isArmed_) return;
  isCancelled_ = true;
  transfer_->cancel();
}

bool TWConnectionStream::validateData(std::span<const std::uint8_t> data) {
  return data.size() != 1 && text_->take(data);
}

std::optional<TWData> TWConnectionStream::fetched() const {
  return text_->bytes().empty() ? std::nullopt : std::optional(text_->bytes());
}

}  // namespace tarnwell
