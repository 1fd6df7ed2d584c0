#pragma once

#include <string>

namespace dw {

// A new random UUID in its canonical upper-case text form.
std::string newUuid();

}  // namespace dw
