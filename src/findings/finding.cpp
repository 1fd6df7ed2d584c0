#include "findings/finding.h"

namespace dw {

std::string_view kindName(Finding::Kind kind) {
  switch (kind) {
    case Finding::Kind::cache:
      return "cache";
    case Finding::Kind::file:
      return "file";
    case Finding::Kind::leftover:
      return "leftover";
  }
  return "cache";
}

std::optional<Finding::Kind> kindFromName(std::string_view name) {
  if (name == "cache") return Finding::Kind::cache;
  if (name == "file") return Finding::Kind::file;
  if (name == "leftover") return Finding::Kind::leftover;
  return std::nullopt;
}

}  // namespace dw
