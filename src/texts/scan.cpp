#include "texts/scan.h"

#include <cstdio>

#include "base/paths.h"
#include "base/time.h"

namespace dw::texts::scan {

namespace {
std::string joined(const std::vector<std::string>& parts) {
  std::string out;
  for (size_t i = 0; i < parts.size(); ++i) {
    if (i) out += ", ";
    out += parts[i];
  }
  return out;
}
}  // namespace

std::vector<std::string> areas(const Wording& wording) {
  return {wording.cachesArea, wording.developerArea, wording.browserArea, wording.largeFilesArea,
          wording.leftoversArea};
}

std::string measuring(std::string_view area, const Wording& wording) {
  return "Measuring " + (wording.areasInLowerCase ? paths::asciiLower(area) : std::string(area)) +
         ".";
}

std::string finished(bool foundAny, const std::vector<std::string>& unread,
                     const Wording& wording) {
  std::string text = foundAny ? "Nothing is removed until you confirm. Caches go to the Trash."
                              : "No large unused caches. Documents and builds were not scanned "
                                "for deletion.";
  if (unread.empty()) return text;
  // Where no Full Disk Access setting exists (Linux), the folders' permissions are what keeps
  // them unread.
  return text + " Could not read " + joined(unread) +
         (wording.fullDiskAccessSetting
              ? ". Full Disk Access is required for a complete leftovers scan."
              : ". Check their permissions for a complete leftovers scan.");
}

std::string failed(const Wording& wording) {
  return wording.fullDiskAccessSetting
             ? "Scan could not finish. Try Scan again, or check Full Disk Access if leftovers "
               "were incomplete."
             : "Scan could not finish. Try Scan again, or check the folders' permissions if "
               "leftovers were incomplete.";
}

std::string unreadNotice(const std::vector<std::string>& locations, const Wording& wording) {
  std::string text = "Some leftover folders could not be read (" + joined(locations) + "). ";
  return text + (wording.fullDiskAccessSetting
                     ? "Full Disk Access is required for a complete scan."
                     : "Check their permissions: your user needs to read them for a complete "
                       "scan.");
}

std::string scannedText(const std::optional<TimePoint>& lastScannedAt, TimePoint now) {
  if (!lastScannedAt) return "Not scanned yet";
  return "Scanned " + timefmt::relativeText(*lastScannedAt, now);
}

std::string headerLine(const std::optional<std::string>& scanArea,
                       const std::optional<TimePoint>& lastScannedAt, TimePoint now,
                       const Wording& wording) {
  if (!scanArea || scanArea->empty()) return scannedText(lastScannedAt, now);
  if (scanArea->ends_with("…")) return *scanArea;
  // Mid-sentence, the lists' areas are common nouns; the others are names (Library, Chrome). A
  // layout whose areas are written as a sentence says them (Linux) keeps them as they are.
  bool commonNoun = wording.areasInLowerCase &&
                    (*scanArea == wording.largeFilesArea || *scanArea == wording.leftoversArea);
  return "Looking through " + (commonNoun ? paths::asciiLower(*scanArea) : *scanArea) + "…";
}

std::string volumeName(const Wording& wording) {
  return "This " + wording.machine;
}

std::string recoveryProblem(std::string_view what) {
  return "Recently Cleared could not be brought up to date (" + std::string(what) + ").";
}

std::string spaceMapReady(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", seconds);
  return std::string("Space Map ready in ") + text + " s. The map does not move anything.";
}

std::string spaceMapComplete(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", seconds);
  return std::string("Space Map sizes complete in ") + text + " s. The map does not move anything.";
}

}  // namespace dw::texts::scan
