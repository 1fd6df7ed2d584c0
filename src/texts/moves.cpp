#include "texts/moves.h"

#include "findings/size_text.h"
#include "texts/sharing.h"

namespace dw::texts {

namespace {
// " moved to the Trash. Empty the Trash to get the space back."
std::string movedTail(const Wording& wording) {
  return " moved to the Trash. " + wording.emptyTrash + " to get the space back.";
}

std::string joined(const std::vector<std::string>& parts, std::string_view separator) {
  std::string out;
  for (size_t i = 0; i < parts.size(); ++i) {
    if (i) out += separator;
    out += parts[i];
  }
  return out;
}

std::string failureList(const std::vector<Clearing::Failure>& failures) {
  std::vector<std::string> named;
  for (const auto& f : failures)
    named.push_back(f.name + " (" + f.reason + ")");
  return joined(named, ", ");
}

std::string toMoveHeading(std::string_view what, std::int64_t bytes) {
  return "To move to the Trash: " + std::string(what) + " · " + sizeText(bytes);
}

std::string itemSize(const MoveItem& item) {
  return sizeText(item.bytes.value_or(0));
}
}  // namespace

std::string emptyLine(const Wording& wording) {
  return "Space comes back " + wording.whenTrashEmptied + ". We never empty it for you.";
}

std::string confirmTitle(std::int64_t count) {
  return "Move " + countNoun(count, "item") + " to the Trash?";
}

std::string uninstallTitle(std::string_view name, std::int64_t relatedCount) {
  std::string title = "Move " + std::string(name);
  if (relatedCount > 0) title += " and " + countNoun(relatedCount, "related item");
  return title + " to the Trash?";
}

std::string showAllText(std::int64_t count) {
  return "Show all " + countNoun(count, "item");
}

std::string moreText(std::int64_t notListed) {
  return std::to_string(notListed) + " more";
}

QuestionWords questionWords(MoveKind kind, const Wording& wording) {
  if (kind == MoveKind::share) {
    return {"square.on.square",
            std::string(sharing::kButton),
            std::string(sharing::kStayLine),
            std::string(sharing::spaceLine(wording)),
            "Dry run: nothing was shared.",
            "nothing was shared",
            "Nothing was shared."};
  }
  return {"trash",
          "Move to Trash",
          std::string(kConfirmPutBackLine),
          emptyLine(wording),
          "Dry run: nothing was moved.",
          "nothing was moved",
          "Nothing was moved to the Trash."};
}

std::string questionSize(MoveKind kind, std::int64_t bytes) {
  return kind == MoveKind::share ? sharing::questionSize(bytes) : sizeText(bytes);
}

std::string progressText(int done, int total) {
  return std::to_string(done) + " of " + std::to_string(total);
}

std::string progressLine(int done, int total, std::string_view current) {
  std::string text = progressText(done, total);
  if (!current.empty()) text += " · " + std::string(current);
  return text;
}

std::string movingApp(std::string_view name) {
  return "Moving " + std::string(name) + " to the Trash.";
}

std::string failureSummary(const std::vector<Clearing::Failure>& failures) {
  if (failures.empty()) return {};
  return "Some items stayed in place: " + failureList(failures) + ".";
}

std::string clearMessage(const Clearing::Outcome& outcome, const Wording& wording) {
  std::string failures = failureSummary(outcome.failures);
  if (outcome.movedBytes < 1) {
    if (outcome.stopped) return "Clearing stopped. Nothing was moved to the Trash.";
    if (!failures.empty()) return failures;
    return "Nothing was moved to the Trash.";
  }
  std::string text = sizeText(outcome.movedBytes) + movedTail(wording);
  if (outcome.stopped) text += " Clearing stopped after the current item.";
  if (!outcome.notes.empty()) text += " " + joined(outcome.notes, ". ") + ".";
  if (!failures.empty()) text += " " + failures;
  return text + " See Recently Cleared to put items back while they are still in the Trash.";
}

std::string copiesMessage(const Clearing::Outcome& outcome, const Wording& wording) {
  std::string moved = "Up to " + sizeText(outcome.movedBytes) + movedTail(wording);
  if (!outcome.failures.empty()) {
    return "Some copies stayed in place: " + failureList(outcome.failures) + ". " + moved;
  }
  if (outcome.entries.empty()) return "Nothing was moved to the Trash.";
  return moved + (wording.apfs ? " Copies on APFS may free less."
                               : " Copies that share storage may free less.");
}

std::string uninstallMessage(const Clearing::UninstallOutcome& outcome, const Wording& wording) {
  std::string moved = sizeText(outcome.moves.movedBytes) + movedTail(wording);
  if (outcome.stopped) {
    if (outcome.moves.entries.empty()) return "Clearing stopped. Nothing was moved to the Trash.";
    moved += " Clearing stopped after the current item.";
  }
  if (outcome.stayed.empty()) {
    return outcome.moves.entries.empty() ? "Nothing was moved to the Trash." : moved;
  }
  std::string text = "Some items stayed in place: " + joined(outcome.stayed, "; ");
  // A failure that is a sentence of its own already ends the list.
  if (!text.ends_with('.')) text += '.';
  return text + " " + moved;
}

std::string logProblem(std::string_view what) {
  return " Recently Cleared could not be updated (" + std::string(what) +
         "); the moved items are in the Trash.";
}

std::vector<std::string> toMoveFindings(const std::vector<MoveItem>& items, std::int64_t bytes) {
  std::vector<std::string> lines{
      toMoveHeading(countNoun(static_cast<std::int64_t>(items.size()), "item"), bytes)};
  for (const auto& item : items)
    lines.push_back("  " + item.name + " · " + itemSize(item) + " · " + item.kindWord);
  return lines;
}

std::vector<std::string> toMoveCopies(const std::vector<MoveItem>& items, std::int64_t bytes) {
  std::vector<std::string> lines{
      toMoveHeading(countNoun(static_cast<std::int64_t>(items.size()), "copy"), bytes)};
  // The copies come group by group; each group's kept copy is named before its first copy.
  std::string kept;
  for (const auto& item : items) {
    if (item.keptPath != kept) {
      kept = item.keptPath;
      lines.push_back("  keep  " + kept);
    }
    lines.push_back("  move  " + item.path);
  }
  return lines;
}

std::vector<std::string> toMoveApp(const std::vector<MoveItem>& items, std::int64_t bytes) {
  if (items.empty()) return {};
  std::vector<std::string> lines{toMoveHeading(items.front().name, bytes)};
  for (const auto& item : items)
    lines.push_back("  " + item.path + " · " + itemSize(item));
  return lines;
}

}  // namespace dw::texts
