#include <algorithm>
#include <iostream>
#include <map>

#include "base/paths.h"
#include "base/time.h"
#include "clearing/cleared_groups.h"
#include "clearing/cleared_log.h"
#include "clearing/put_back_all.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/session.h"
#include "findings/size_text.h"
#include "texts/cleared.h"

namespace dw::cli {

namespace {

std::string statusText(const ClearedLog::Entry& e, const Locations& places) {
  return texts::cleared::statusText(ClearedLog::status(e, places),
                                    e.putBackAt ? timefmt::localDateTime(*e.putBackAt) : "");
}

json::Value entryJson(const ClearedLog::Entry& e, const Locations& places) {
  json::Value out{json::Object{}};
  out.set("id", e.id);
  out.set("sessionID", e.sessionID);
  out.set("originalPath", e.originalPath);
  out.set("trashPath", e.trashPath);
  out.set("bytes", e.bytes);
  out.set("kind", e.kind);
  out.set("name", e.name);
  out.set("date", timefmt::isoUtc(e.date));
  out.set("putBackAt", isoOrNull(e.putBackAt));
  out.set("status", statusText(e, places));
  return out;
}

}  // namespace

Runner addHistory(CLI::App& app) {
  struct Options {
    PlaceOptions places;
    bool json = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cmd = app.add_subcommand("history", "Recently Cleared: every move to the Trash");
  options->places.addTo(*cmd);
  cmd->add_flag("--json", options->json, "Print the entries as JSON");

  return [options] {
    Locations places = options->places.locations();
    recoverClearedLog(places);
    ClearedLog::Reading reading = ClearedLog::read(places);
    std::vector<ClearedLog::Entry> entries(reading.entries.rbegin(), reading.entries.rend());
    // Said plainly; with --json on standard error, so that the output stays one value.
    std::ostream& note = options->json ? std::cerr : std::cout;
    if (reading.unreadable > 0) {
      note << countNoun(reading.unreadable, "record") << " of Recently Cleared could not be read; "
           << (reading.unreadable == 1 ? "it is" : "they are") << " kept in the log unchanged.\n";
    }
    if (!reading.problem.empty()) note << displayText(reading.problem) << '\n';
    for (const std::string& kept : reading.journalNotes)
      note << displayText(kept) << '\n';
    if (options->json) {
      json::Array rows;
      for (const auto& e : entries)
        rows.push_back(entryJson(e, places));
      printJson(json::Value(std::move(rows)));
      return 0;
    }
    if (entries.empty()) {
      std::cout << texts::cleared::kNothingYet << '\n';
      return 0;
    }
    // One group per clear, newest clear first, dated by its latest entry.
    for (const auto& group : ClearedLog::groupBySession(entries)) {
      std::cout << texts::cleared::groupHeader(timefmt::localDateTime(group.latest),
                                               static_cast<std::int64_t>(group.entries.size()),
                                               group.bytes)
                << '\n'
                << "  clear " << group.sessionID << '\n';
      for (const auto& e : group.entries) {
        std::cout << "  " << statusText(e, places) << " · " << displayText(e.name) << " · "
                  << sizeText(e.bytes) << " · " << e.kind << '\n'
                  << "      " << displayText(e.originalPath) << '\n'
                  << "      id " << e.id << '\n';
      }
      std::cout << '\n';
    }
    return 0;
  };
}

namespace {

// The one id text names, whole or by its start; a text that names none, or several, puts
// nothing back (the candidates are named).
std::string resolveId(const std::vector<ClearedLog::Entry>& entries, const std::string& text,
                      bool sessions) {
  std::vector<std::string> ids = ClearedLog::idsStartingWith(entries, text, sessions);
  const char* what = sessions ? "clear" : "cleared item";
  if (ids.empty()) {
    throw UsageError("no " + std::string(what) + " with id " + displayText(text) +
                     " (see dustwhale history)");
  }
  if (ids.size() > 1) {
    std::string names;
    for (const std::string& id : ids)
      names += (names.empty() ? "" : ", ") + id;
    throw UsageError(displayText(text) + " names more than one " + what + ": " + names +
                     "; type more of the id");
  }
  return ids.front();
}

}  // namespace

Runner addPutBack(CLI::App& app) {
  struct Options {
    PlaceOptions places;
    std::vector<std::string> ids;
    std::string clear;
    bool last = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cmd =
      app.add_subcommand("put-back", "Move cleared items from the Trash back where they were");
  options->places.addTo(*cmd);
  auto* ids = cmd->add_option(
      "ids", options->ids,
      "Entry ids as `dustwhale history` shows them, or enough of their start to tell them apart");
  auto* clear = cmd->add_option("--clear", options->clear,
                                "Every item of one clear still in the Trash (its clear id from "
                                "`dustwhale history`, or enough of its start)")
                    ->excludes(ids);
  cmd->add_flag("--last", options->last, "Every item of the most recent clear still in the Trash")
      ->excludes(ids)
      ->excludes(clear);

  return [options] {
    if (options->ids.empty() && options->clear.empty() && !options->last)
      throw UsageError("put-back needs ids, --clear ID or --last");
    Locations places = options->places.locations();
    if (auto refused = refuseInAnotherUsersHome(places)) return *refused;
    Session session(std::move(places));
    ScanModel& model = session.model();
    std::vector<ClearedLog::Entry> known = ClearedLog::load(model.places());

    if (!options->ids.empty()) {
      // A mistyped id puts nothing back, not the items before it.
      std::vector<std::string> wanted;
      for (const std::string& text : options->ids)
        wanted.push_back(resolveId(known, text, false));
      int status = 0;
      for (const std::string& id : wanted) {
        // Read again each time: the put-back before this one changed the log.
        std::vector<ClearedLog::Entry> entries = ClearedLog::load(model.places());
        auto match = std::find_if(entries.begin(), entries.end(),
                                  [&](const ClearedLog::Entry& e) { return e.id == id; });
        if (match == entries.end()) {
          std::cerr << "dustwhale: no cleared item with id " << displayText(id) << '\n';
          status = 1;
          continue;
        }
        bool ok = model.putBack(*match);
        (ok ? std::cout : std::cerr) << displayText(model.message()) << '\n';
        if (!ok) status = 1;
      }
      return status;
    }

    std::string session_id;
    if (options->last) {
      std::vector<ClearedLog::Group> groups = ClearedLog::groupBySession(known);
      if (groups.empty()) {
        std::cout << texts::cleared::kNothingYet << '\n';
        return 1;
      }
      session_id = groups.front().sessionID;
    } else {
      session_id = resolveId(known, options->clear, true);
    }
    bool ok = model.putBackClear(session_id);
    (ok ? std::cout : std::cerr) << displayText(model.message()) << '\n';
    return ok ? 0 : 1;
  };
}

}  // namespace dw::cli
