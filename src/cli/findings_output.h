#pragma once
// How the command line shows findings: grouped text for a person, JSON for a program.

#include <string>

#include "base/json.h"
#include "findings/finding.h"
#include "model/scan_model.h"

namespace dw::cli {

json::Value findingJson(const Finding& finding);
json::Value scanJson(const ScanModel& model);
void printScanText(const ScanModel& model);

}  // namespace dw::cli
