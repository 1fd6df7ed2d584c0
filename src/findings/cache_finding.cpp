#include "findings/cache_finding.h"

namespace dw {

std::string_view kindName(CacheFinding::Kind kind) {
  switch (kind) {
    case CacheFinding::Kind::cache:
      return "cache";
    case CacheFinding::Kind::file:
      return "file";
    case CacheFinding::Kind::leftover:
      return "leftover";
  }
  return "cache";
}

std::optional<CacheFinding::Kind> kindFromName(std::string_view name) {
  if (name == "cache") return CacheFinding::Kind::cache;
  if (name == "file") return CacheFinding::Kind::file;
  if (name == "leftover") return CacheFinding::Kind::leftover;
  return std::nullopt;
}

}  // namespace dw
