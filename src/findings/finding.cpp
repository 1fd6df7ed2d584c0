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

}  // namespace dw
