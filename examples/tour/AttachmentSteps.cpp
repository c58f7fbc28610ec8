// A file that travels with a message.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "examples/tour/Steps.h"

using namespace tarnwell;

namespace tour {
namespace {

constexpr auto kSubject = "A file for you";
constexpr auto kFileName = "every-byte.bin";

/// Every byte there is, many times over.
TWData fileContent() {
  constexpr std::size_t kSize = 100'000;
  TWData content(kSize);
  for (std::size_t at = 0; at < kSize; ++at) content[at] = static_cast<std::uint8_t>(at);
  return content;
}

}  // namespace

void sendFile(Tour& tour) {
  const auto message = TWMessage::withDict({
      {"folder", tour.account->drafts()},
      {"subject", kSubject},
      {"to_recipients", TWValue::list({tour.colleagueAddress})},
  });
  TWError error;
  check(message->save(&error), "the draft was not saved", error);

  // What is attached to a message on the server is there at once.
  const auto file = TWFileAttachment::withDict({{"name", kFileName}, {"_content", fileContent()}});
  check(message->attach(file, &error), "the file was not attached", error);

  // Attaching has changed the message, and only its current state can be sent.
  check(message->refresh(&error), "the draft could not be read", error);
  const auto sent = tour.account->bulkSend({message}, true, nullptr, &error);
  check(sent.has_value() && sent->size() == 1, "the message was not sent", error);
  check(sent->front().hasValue(), "the message was not sent", sent->front().error());
  tell(formatMessage("%@, %lu bytes", {kFileName, fileContent().size()}));
}

void receiveFile(Tour& tour) {
  TWError error;
  const auto entry = tour.colleague->inbox()->get({{"subject", kSubject}}, &error);
  check(entry.has_value(), "the message was not found", error);
  const auto message = entry->item();
  check(message != nullptr, "the message could not be read", entry->error());

  const auto files = message->get<std::vector<std::shared_ptr<TWFileAttachment>>>("attachments");
  check(files && files->size() == 1, "the message has not one file attached");
  const auto& file = files->front();
  check(file->get("name") == TWValue(kFileName), "the file has another name");
  const auto content = file->getContent(&error);
  check(content.has_value(), "the file could not be read", error);
  check(*content == fileContent(), "what arrived is not what was sent");
  tell(formatMessage("%@, %@: %lu bytes arrived as they were sent",
                     {file->get("name"), file->get("content_type"), content->size()}));
}

}  // namespace tour
