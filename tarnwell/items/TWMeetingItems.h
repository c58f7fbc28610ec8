#pragma once

#include "tarnwell/items/TWItem.h"

namespace tarnwell {

/// An invitation to a meeting (`t:MeetingRequest`). Like the other two it has what a message has,
/// and tells of the meeting: "start", "end", "location", "organizer", "required_attendees", "uid"
/// and the like. The server makes meeting items; most of what they tell is read-only.
class TWMeetingRequest : public detail::ElementKind<TWMeetingRequest, TWItem> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

/// An answer to an invitation (`t:MeetingResponse`): "response_type" tells which.
class TWMeetingResponse : public detail::ElementKind<TWMeetingResponse, TWItem> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

/// A meeting called off (`t:MeetingCancellation`).
class TWMeetingCancellation : public detail::ElementKind<TWMeetingCancellation, TWItem> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass();
};

}  // namespace tarnwell
