#include "cli/findings_output.h"

#include <iostream>

#include "base/time.h"
#include "cli/output.h"
#include "findings/notes.h"
#include "findings/size_text.h"
#include "texts/lists.h"

namespace dw::cli {

json::Value findingJson(const Finding& f) {
  json::Value out{json::Object{}};
  out.set("id", f.id);
  out.set("name", f.name);
  out.set("path", f.path);
  out.set("bytes", f.bytes);
  if (f.kind == Finding::Kind::file) out.set("length", f.length);
  out.set("note", f.note);
  out.set("suggested", f.suggested);
  out.set("removable", f.removable);
  out.set("kind", kindName(f.kind));
  json::Array paths(f.leftoverPaths.begin(), f.leftoverPaths.end());
  out.set("leftoverPaths", std::move(paths));
  json::Array evidence(f.leftoverEvidence.begin(), f.leftoverEvidence.end());
  out.set("leftoverEvidence", std::move(evidence));
  out.set("leftoverBundleID", f.leftoverBundleID ? json::Value(*f.leftoverBundleID) : nullptr);
  out.set("leftoverLastUsed", isoOrNull(f.leftoverLastUsed));
  json::Array largest;
  for (const auto& peek : f.leftoverLargestFiles) {
    json::Value file{json::Object{}};
    file.set("name", peek.name);
    file.set("bytes", peek.bytes);
    largest.push_back(std::move(file));
  }
  out.set("leftoverLargestFiles", std::move(largest));
  out.set("contentModified", isoOrNull(f.contentModified));
  out.set("summary", notes::summary(f));
  out.set("whySafe", notes::whySafe(f));
  return out;
}

json::Value scanJson(const ScanModel& model) {
  json::Value out{json::Object{}};
  out.set("message", model.message());
  json::Value volume{json::Object{}};
  volume.set("total", model.volume().total);
  volume.set("available", model.volume().available);
  volume.set("important", model.volume().important);
  out.set("volume", std::move(volume));
  json::Array unread(model.unreadLeftoverLocations().begin(),
                     model.unreadLeftoverLocations().end());
  out.set("unreadLeftoverLocations", std::move(unread));
  json::Array selected;
  for (const auto& finding : model.caches()) {
    if (model.selected().count(finding.id)) selected.emplace_back(finding.id);
  }
  out.set("selected", std::move(selected));
  json::Array findings;
  for (const auto& finding : model.caches())
    findings.push_back(findingJson(finding));
  out.set("findings", std::move(findings));
  return out;
}

void printScanText(const ScanModel& model) {
  for (Finding::Kind kind : {Finding::Kind::cache, Finding::Kind::leftover, Finding::Kind::file}) {
    std::int64_t total = 0;
    int count = 0;
    for (const auto& f : model.caches()) {
      if (f.kind == kind) total += f.bytes, ++count;
    }
    std::cout << texts::listTitle(kind);
    if (count) std::cout << " · " << sizeText(total);
    std::cout << '\n';
    if (!count) std::cout << "    " << texts::emptyState(kind, model.wording()).detail << '\n';
    for (const auto& f : model.caches()) {
      if (f.kind != kind) continue;
      const char* mark = model.selected().count(f.id) ? "[x]" : (f.removable ? "[ ]" : " - ");
      std::cout << "  " << mark << ' ' << displayText(f.name) << " · "
                << sizeOnDiskText(f.length, f.bytes) << " · " << notes::badge(f) << '\n'
                << "      " << displayText(notes::summary(f)) << '\n'
                << "      " << displayText(f.path);
      if (kind == Finding::Kind::leftover) std::cout << "  (" << displayText(f.id) << ')';
      std::cout << '\n';
      if (std::string largest = notes::largestFilesText(f); !largest.empty())
        std::cout << "      Largest files: " << displayText(largest) << '\n';
    }
    std::cout << '\n';
  }
  std::cout << displayText(model.message()) << '\n';
}

}  // namespace dw::cli
