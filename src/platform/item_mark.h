#pragma once
// What tells one item from another that took its name: the file system's identity of it (its
// device and inode numbers), which a rename into the Trash and back keeps, and the time it was
// made where the file system records one (an inode number used again belongs to an item made
// later). Read without following a link.

#include <cstdint>
#include <optional>
#include <string>

#include "base/core.h"

namespace dw::platform {

struct ItemMark {
  FileIdentity identity;
  std::optional<std::int64_t> bornNs;  // nanoseconds since 1970; none where it is not kept
  bool operator==(const ItemMark&) const = default;
};

// The mark of the item at path (a link itself, never followed), or nothing when none is there.
std::optional<ItemMark> itemMark(const std::string& path);

// Whether the item now at path is the one recorded: the same identity, and the same birth time
// when both were read with one.
bool isSameItem(const std::string& path, const ItemMark& recorded);

}  // namespace dw::platform
