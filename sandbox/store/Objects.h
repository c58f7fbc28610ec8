#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sandbox/store/Node.h"

namespace tarnwell::sandbox {

struct Attachment {
  std::uint64_t number = 0;
  /// FileAttachment or ItemAttachment, without its id and what it holds.
  Node description;
  /// Of a file: base64.
  std::string content;
  /// Of an item attachment.
  std::optional<Node> item;
};

struct Item {
  std::uint64_t number = 0;
  std::uint64_t folder = 0;
  std::uint64_t version = 0;
  /// t:Message, t:Contact ... with the properties that are kept, in the order of the schema.
  Node content;
  std::vector<std::shared_ptr<const Attachment>> attachments;
  /// In which version a property last changed, by the key of its path.
  std::map<std::string, std::uint64_t> changed;
};

struct Folder {
  std::uint64_t number = 0;
  /// Its own number at the top of a tree.
  std::uint64_t parent = 0;
  std::uint64_t version = 0;
  /// The address of its mailbox, in lower case.
  std::string mailbox;
  /// Empty for a folder that somebody made.
  std::string distinguishedId;
  std::string name;
  std::string folderClass;
  std::vector<Node> extendedProperties;
};

struct StoreMailbox {
  std::string address;
  std::string name;
  std::map<std::string, std::uint64_t, std::less<>> distinguishedFolders;
};

/// Something that happened to an item or a folder.
struct StoreEvent {
  enum class Kind { newMail, created, deleted, modified, moved };

  Kind kind = Kind::created;
  bool isFolder = false;
  std::uint64_t number = 0;
  std::uint64_t version = 0;
  std::uint64_t parent = 0;
  /// Where it was; for `moved` only.
  std::uint64_t oldNumber = 0;
  std::uint64_t oldVersion = 0;
  std::uint64_t oldParent = 0;
  std::string time = {};
  /// The address of the mailbox that it happened in, in lower case.
  std::string mailbox = {};
};

}  // namespace tarnwell::sandbox
