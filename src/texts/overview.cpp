#include "texts/overview.h"

#include <algorithm>

#include "clearing/clearing.h"
#include "findings/size_text.h"
#include "texts/lists.h"

namespace dw::texts::overview {

StorageAmounts storageAmounts(const VolumePicture& volume, const std::vector<Finding>& findings) {
  StorageAmounts a;
  a.total = std::max<std::int64_t>(0, volume.total);
  a.free = std::clamp<std::int64_t>(volume.available, 0, a.total);
  a.heldShown = volume.heldReported;
  a.held = a.heldShown
               ? std::clamp<std::int64_t>(volume.important - volume.available, 0, a.total - a.free)
               : 0;
  std::int64_t taken = a.total - a.free - a.held;
  for (const auto& f : findings) {
    if (f.removable && f.kind != Finding::Kind::file) a.ready = addBytes(a.ready, f.bytes);
  }
  // A finding measured on another volume cannot make ready larger than what is taken here.
  a.ready = std::clamp<std::int64_t>(a.ready, 0, taken);
  a.used = taken - a.ready;
  return a;
}

std::string storageSummary(const StorageAmounts& a) {
  std::string text = sizeText(a.used) + " used, " + sizeText(a.ready) + " ready to clear, ";
  if (a.heldShown) text += sizeText(a.held) + " held by macOS, ";
  return text + sizeText(a.free) + " free";
}

std::string storageExplanation(const StorageAmounts& a) {
  return a.heldShown ? kHeldExplanation : "";
}

std::vector<Segment> storageLegend(const StorageAmounts& a) {
  std::vector<Segment> segments{{"used", "Your files and apps"}, {"ready", "Ready to clear"}};
  if (a.heldShown) segments.push_back({"held", "Held by macOS"});
  segments.push_back({"free", "Free"});
  return segments;
}

std::string totalText(const StorageAmounts& a) {
  return sizeText(a.total) + " total";
}

std::vector<Card> cards(const std::vector<Finding>& findings, bool scanning,
                        const std::optional<ExtraCopies>& copies, const Wording& wording,
                        bool searchingCopies, bool measured) {
  std::int64_t bytes[3] = {0, 0, 0}, count[3] = {0, 0, 0};
  for (const auto& f : findings) {
    auto k = static_cast<size_t>(f.kind);
    bytes[k] = addBytes(bytes[k], f.bytes);
    ++count[k];
  }
  auto of = [&](Finding::Kind kind, std::int64_t* values) {
    return values[static_cast<size_t>(kind)];
  };
  auto title = [](Finding::Kind kind) { return std::string(listTitle(kind)); };
  auto value = [&](Finding::Kind kind) {
    return measured ? sizeText(of(kind, bytes)) : std::string(kMeasuring);
  };
  using K = Finding::Kind;
  std::vector<Card> out;
  out.push_back({title(K::cache), "trash", value(K::cache),
                 scanning ? "Looking through caches."
                          : countNoun(of(K::cache, count), "folder") + " apps rebuild on their own",
                 "Safe to clear", "safe", "review"});
  out.push_back({title(K::leftover), "square.dashed", value(K::leftover),
                 scanning
                     ? "Looking for leftovers."
                     : "From " + countNoun(of(K::leftover, count), "app") + " no longer installed",
                 "Review", "review", "leftovers"});
  out.push_back({"Duplicates", "square.on.square", "up to " + sizeText(copies ? copies->bytes : 0),
                 searchingCopies ? "Looking for extra copies."
                 : copies        ? countNoun(copies->files, "file") + " with an identical copy"
                          : namingFolders("Find extra copies in Downloads and media folders.",
                                          wording.folders),
                 "Your call", "neutral", "duplicates"});
  out.push_back({title(K::file), "doc", value(K::file),
                 scanning
                     ? "Looking through large files."
                     : countNoun(of(K::file, count), "file") + " over 200 MB, never pre-selected",
                 "Your call", "review", "largeFiles"});
  return out;
}

std::string readyHeading(std::int64_t ready) {
  return "Ready to clear " + sizeText(ready);
}

std::string reviewButton(std::int64_t ready) {
  return "Review " + sizeText(ready);
}

std::vector<ReviewPlace> reviewPlaces(const std::vector<Finding>& findings) {
  std::vector<ReviewPlace> out{{"review", std::string(listTitle(Finding::Kind::cache)), 0},
                               {"leftovers", std::string(listTitle(Finding::Kind::leftover)), 0}};
  for (const auto& f : findings) {
    if (!f.removable || f.kind == Finding::Kind::file) continue;
    ReviewPlace& place = out[f.kind == Finding::Kind::cache ? 0 : 1];
    place.bytes = addBytes(place.bytes, f.bytes);
  }
  std::erase_if(out, [](const ReviewPlace& p) { return p.bytes <= 0; });
  for (auto& place : out)
    place.title += " · " + sizeText(place.bytes);
  return out;
}

}  // namespace dw::texts::overview
