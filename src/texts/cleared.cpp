#include "texts/cleared.h"

#include <algorithm>

#include "clearing/clearing.h"
#include "findings/size_text.h"

namespace dw::texts::cleared {

std::string statusText(ClearedLog::Status status, std::string_view putBackWhen) {
  switch (status) {
    case ClearedLog::Status::inTrash:
      return "In the Trash";
    case ClearedLog::Status::putBack:
      return "Put back " + std::string(putBackWhen);
    case ClearedLog::Status::trashEmptied:
      return "Trash emptied";
    case ClearedLog::Status::putBackByHand:
      return std::string(kPutBackByHand);
    case ClearedLog::Status::shared:
      return "Shared in place";
  }
  return {};
}

std::string rowStatus(ClearedLog::Status status, std::string_view putBackWhen) {
  return status == ClearedLog::Status::inTrash ? std::string() : statusText(status, putBackWhen);
}

std::string groupHeader(std::string_view date, std::int64_t items, std::int64_t bytes) {
  return std::string(date) + " · " + countNoun(items, "item") + " · " + sizeText(bytes);
}

std::string cardHeader(std::string_view date, const std::vector<ClearedLog::Entry>& entries,
                       std::int64_t bytes) {
  const bool shares =
      !entries.empty() && std::all_of(entries.begin(), entries.end(),
                                      [](const auto& e) { return ClearedLog::isShare(e); });
  if (!shares) return groupHeader(date, static_cast<std::int64_t>(entries.size()), bytes);
  std::int64_t copies = 0;
  for (const auto& e : entries)
    copies += static_cast<std::int64_t>(e.shared.size());
  return std::string(date) + " · " + countNoun(copies, "shared copy") + " · " + sizeText(bytes) +
         " freed";
}

std::string shareNote(const std::vector<ClearedLog::Entry>& entries) {
  bool any = std::any_of(entries.begin(), entries.end(),
                         [](const auto& e) { return ClearedLog::isShare(e); });
  return any ? std::string(ClearedLog::kNothingToPutBack) : std::string();
}

std::int64_t bytesInTrash(const std::vector<ClearedLog::Entry>& entries, const Locations& places) {
  std::int64_t bytes = 0;
  for (const auto& e : entries) {
    if (ClearedLog::status(e, places) == ClearedLog::Status::inTrash) {
      bytes = addBytes(bytes, e.bytes);
    }
  }
  return bytes;
}

std::string title(std::int64_t bytesInTrash) {
  return sizeText(bytesInTrash) + " moved to the Trash";
}

std::string putBack(std::string_view name) {
  return std::string(name) + " was put back.";
}

}  // namespace dw::texts::cleared
