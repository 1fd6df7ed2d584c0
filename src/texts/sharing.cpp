#include "texts/sharing.h"

#include <algorithm>

#include "findings/size_text.h"

namespace dw::texts::sharing {

std::string question(std::int64_t copies) {
  return "Share " + countNoun(copies, "copy") +
         (copies == 1 ? " with its kept copy?" : " with their kept copies?");
}

std::string planSummary(const Sharing::Plan& plan) {
  if (plan.sharing == 0) return "Nothing can be shared.";
  return "Sharing can free about " + sizeText(plan.freeable) + ". Every file stays where it is.";
}

std::string questionSize(std::int64_t freeable) {
  return "About " + sizeText(freeable) + " back";
}

std::string_view spaceLine(const Wording& wording) {
  return wording.sharesByCloning
             ? "Each copy becomes a clone; the file it replaces goes to the Trash."
             : "The space comes back at once. Nothing goes to the Trash.";
}

std::string footerText(const Sharing::Plan& plan) {
  if (plan.sharing == 0) return "Nothing can be shared.";
  return "Sharing frees about " + sizeText(plan.freeable) + " at once.";
}

std::string staysLine(const Sharing::Plan& plan) {
  std::vector<std::string> reasons;
  std::int64_t staying = 0;
  for (const auto& p : plan.copies) {
    if (p.reason.empty()) continue;
    ++staying;
    if (std::find(reasons.begin(), reasons.end(), p.reason) == reasons.end())
      reasons.push_back(p.reason);
  }
  if (staying == 0) return {};
  std::string text = countNoun(staying, "other copy") +
                     (staying == 1 ? " stays as it is: " : " stay as they are: ");
  for (size_t i = 0; i < reasons.size(); ++i)
    text += (i ? "; " : "") + reasons[i];
  return text + ".";
}

std::string message(const Sharing::Outcome& outcome) {
  std::string stayed;
  if (!outcome.failures.empty()) {
    stayed = "Some copies stayed as they were: ";
    for (size_t i = 0; i < outcome.failures.size(); ++i) {
      if (i) stayed += ", ";
      stayed += outcome.failures[i].name + " (" + outcome.failures[i].reason + ")";
    }
    stayed += ".";
  }
  const auto n = static_cast<std::int64_t>(outcome.sharedPaths.size());
  if (n == 0) {
    if (outcome.stopped) return "Sharing stopped. Nothing was shared.";
    return stayed.empty() ? "Nothing was shared." : stayed;
  }
  std::string text;
  if (outcome.cloned) {
    text = countNoun(n, "copy") + (n == 1 ? " is now a clone" : " are now clones") +
           " of the kept copy; the files they replaced are in the Trash. Empty the Trash to get "
           "up to " +
           sizeText(outcome.movedBytes) + " back.";
  } else {
    text = "Sharing freed " + sizeText(outcome.freedBytes) + ": " + countNoun(n, "copy") +
           (n == 1 ? " now uses" : " now use") +
           " the blocks of an identical file, and every file stays where it was.";
  }
  if (outcome.stopped) text += " Sharing stopped after the current copy.";
  if (!stayed.empty()) text += " " + stayed;
  return text;
}

std::vector<std::string> review(const Sharing::Plan& plan) {
  std::vector<std::string> lines;
  if (plan.sharing > 0) {
    lines.push_back("To share: " + countNoun(plan.sharing, "copy") + " · about " +
                    sizeText(plan.freeable) + " can come back at once");
  }
  // The copies come group by group; each group's kept copy is named before its first copy.
  const std::string* kept = nullptr;
  for (const auto& p : plan.copies) {
    if (!kept || p.copy.keptPath != *kept) {
      kept = &p.copy.keptPath;
      lines.push_back("  keep   " + *kept);
    }
    if (!p.reason.empty()) {
      lines.push_back("  stays  " + p.copy.path + " (" + p.reason + ")");
    } else if (p.source != p.copy.keptPath) {
      // The kept copy is on another file system: this one uses a copy beside it.
      lines.push_back("  share  " + p.copy.path + " (with " + p.source + ")");
    } else {
      lines.push_back("  share  " + p.copy.path);
    }
  }
  return lines;
}

}  // namespace dw::texts::sharing
