#pragma once
// How the command line shows findings: grouped text for a person, JSON for a program.

#include <string>

#include "base/json.h"
#include "findings/cache_finding.h"
#include "model/scan_model.h"

namespace dw::cli {

json::Value findingJson(const CacheFinding& finding);
json::Value scanJson(const ScanModel& model);
void printScanText(const ScanModel& model);

// "cache", "file", "app leftover": the word a list of what will move uses.
std::string kindWord(CacheFinding::Kind kind);

}  // namespace dw::cli
