#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/services/TWEWSAccountService.h"

namespace tarnwell {

class TWCalendarView;
class TWFieldOrder;
class TWFieldPath;
class TWRestriction;

/// FindItem: searches folders for items, page by page.
class TWFindItem : public TWEWSFolderService, public TWServiceStatics<TWFindItem> {
 public:
  [[nodiscard]] static std::shared_ptr<TWFindItem> withAccount(std::shared_ptr<TWAccount> account,
                                                               TWFolders folders);
  [[nodiscard]] static const TWServiceClass& descriptor();

  /// How many items a page has where the caller does not care.
  [[nodiscard]] static constexpr std::size_t chunkSize() noexcept { return 100; }

  using Paths = std::vector<std::shared_ptr<TWFieldPath>>;
  using Orders = std::vector<std::shared_ptr<TWFieldOrder>>;

  /// Sends nothing yet; each page is asked for when it is read. A request that cannot be written
  /// fails the page.
  /// @param restriction   what the server compares; absent for all items.
  /// @param query         a restriction that is a free-text search, in place of the other one.
  /// @param calendarView  a range of time, in place of pages; then only the first page is one.
  /// @param pageSize      written as it is.
  /// @param maxItems      0 or less for no limit.
  /// @param error         never set: errors come with the pages.
  [[nodiscard]] TWPagedServiceResponse call(
      Paths additionalFields, const std::optional<TWRestriction>& restriction, Orders orderFields,
      std::string shape, const std::optional<TWRestriction>& query, std::string depth,
      std::shared_ptr<TWCalendarView> calendarView, int pageSize, std::int64_t maxItems,
      TWError* error = nullptr);
  [[nodiscard]] NKXMLElement getPayload(
      const Paths& additionalFields, const std::optional<TWRestriction>& restriction,
      const Orders& orderFields, std::string_view shape, const std::optional<TWRestriction>& query,
      std::string_view depth, const std::shared_ptr<TWCalendarView>& calendarView, int pageSize,
      std::int64_t offset, TWError* error = nullptr) const;

 private:
  TWFindItem(std::shared_ptr<TWAccount> account, TWFolders folders);
};

}  // namespace tarnwell
