#include "texts/cleared.h"

#include <algorithm>
#include <set>

#include "clearing/clearing.h"
#include "findings/size_text.h"

namespace dw::texts::cleared {

std::string statusText(ClearedLog::Status status, std::string_view putBackWhen) {
  switch (status) {
    case ClearedLog::Status::inTrash:
      return "In the Trash";
    case ClearedLog::Status::putBack:
      // Without a time: put back by another program (the file manager's Restore).
      if (putBackWhen.empty()) return "Already put back";
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

std::string emptyLine(const Wording& wording) {
  return wording.emptyTrash + " to get the space back. Changed your mind? Put anything back below.";
}

std::string newestTrashPath(const std::vector<ClearedLog::Entry>& entries) {
  for (const auto& e : entries) {
    if (!e.trashPath.empty() && !ClearedLog::isShare(e)) return e.trashPath;
  }
  return {};
}

std::string groupHeader(std::string_view date, std::int64_t items, std::int64_t bytes) {
  return std::string(date) + " · " + countNoun(items, "item") + " · " + sizeText(bytes);
}

std::string cardHeader(std::string_view date, const std::vector<ClearedLog::Entry>& entries,
                       std::int64_t bytes) {
  const bool shares =
      !entries.empty() && std::all_of(entries.begin(), entries.end(),
                                      [](const auto& e) { return ClearedLog::isShare(e); });
  if (!shares) {
    // Counted as the question counted them: a leftover is one item however many of its app's
    // folders and files moved (each is a row of its own, named after the app).
    std::set<std::string> leftovers;
    std::int64_t items = 0;
    for (const auto& e : entries) {
      if (e.kind != "leftover" || leftovers.insert(e.name).second) ++items;
    }
    return groupHeader(date, items, bytes);
  }
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

std::string putBackAll(const ClearedLog::PutBackAllOutcome& outcome) {
  const auto back = static_cast<std::int64_t>(outcome.putBack.size());
  const auto stayed = static_cast<std::int64_t>(outcome.stayed.size());
  if (back == 0 && stayed == 0) return std::string(kNothingToPutBackAll);
  std::string text;
  if (back == 1) text = putBack(outcome.putBack.front().name);
  if (back > 1)
    text = countNoun(back, "item") + " were put back (" + sizeText(outcome.bytes) + ").";
  if (stayed == 0) return text;
  if (!text.empty()) text += " ";
  text += countNoun(stayed, "item") + " stayed in the Trash: ";
  for (size_t i = 0; i < outcome.stayed.size(); ++i) {
    std::string_view reason = outcome.stayed[i].reason;
    while (!reason.empty() && reason.back() == '.')
      reason.remove_suffix(1);
    if (i > 0) text += "; ";
    // A refusal names its item already; a reason that does not is given its name.
    const std::string& name = outcome.stayed[i].entry.name;
    if (!reason.starts_with(name)) text += name + ": ";
    text += std::string(reason);
  }
  return text + ".";
}

}  // namespace dw::texts::cleared
