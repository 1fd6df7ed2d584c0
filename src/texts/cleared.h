#pragma once
// The texts of Recently Cleared, in the app and in the command line's history: each clear's
// header, each item's status, and what is still in the Trash. Dates come written by the front
// end, in its reader's form.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "clearing/cleared_log.h"
#include "clearing/put_back_all.h"
#include "texts/wording.h"

namespace dw::texts::cleared {

// "In the Trash", "Put back <when>", "Trash emptied", kPutBackByHand, and for a share, which
// never was in the Trash, "Shared in place". putBackWhen is the entry's putBackAt as the front
// end writes it.
std::string statusText(ClearedLog::Status status, std::string_view putBackWhen);
inline constexpr std::string_view kPutBackByHand = "In the Trash; put back by hand";
// The status column of the app's row: empty where the row offers Put Back instead.
std::string rowStatus(ClearedLog::Status status, std::string_view putBackWhen);
// "Today, 14:05 · 2 items · 43 MB": one clear, dated by its newest entry.
std::string groupHeader(std::string_view date, std::int64_t items, std::int64_t bytes);
// The app's card of one clear: groupHeader (a leftover's paths counted as the one item the
// question listed), or for a share, which moved nothing, the copies that
// now share and what came back: "Today, 14:05 · 2 shared copies · 6 MB freed".
std::string cardHeader(std::string_view date, const std::vector<ClearedLog::Entry>& entries,
                       std::int64_t bytes);
// Said where the entries hold a share: there is nothing to put back
// (ClearedLog::kNothingToPutBack);
// "" when they hold none.
std::string shareNote(const std::vector<ClearedLog::Entry>& entries);
// What of the listed entries is still in the Trash, where Put Back can take it.
std::int64_t bytesInTrash(const std::vector<ClearedLog::Entry>& entries, const Locations& places);
// "1.2 GB moved to the Trash"
std::string title(std::int64_t bytesInTrash);
inline constexpr std::string_view kNothingYet = "Nothing has been cleared yet.";
// Under Recently Cleared's title: "Empty the Trash to get the space back. Changed your mind? Put
// anything back below."
std::string emptyLine(const Wording& wording);
// Where the newest of the entries (newest first) that moved anything lies in the Trash: the
// Trash that Recently Cleared's button shows. "" when none moved anything.
std::string newestTrashPath(const std::vector<ClearedLog::Entry>& entries);
// "<name> was put back."
std::string putBack(std::string_view name);
// The one summary of Put Back All: "3 items were put back (43 MB)." and, for what stayed in
// the Trash, "1 item stayed in the Trash: photo.jpg: Something already exists at the original
// location."; kNothingToPutBackAll when nothing of the clear was in the Trash.
std::string putBackAll(const ClearedLog::PutBackAllOutcome& outcome);
inline constexpr std::string_view kNothingToPutBackAll = "Nothing of this clear is in the Trash.";
inline constexpr std::string_view kPutBackAll = "Put Back All";

}  // namespace dw::texts::cleared
