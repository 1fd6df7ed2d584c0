#pragma once
// The values the duplicate search hands to the model: which folders to search, and groups of
// byte-identical files.

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "base/core.h"

namespace dw::DuplicateScanner {

// An option set over the four media folders; other bits are carried but select nothing.
struct Scope {
  std::int64_t rawValue = 0;

  static constexpr std::int64_t downloads = 1;
  static constexpr std::int64_t movies = 2;
  static constexpr std::int64_t music = 4;
  static constexpr std::int64_t pictures = 8;
  static constexpr Scope all() { return Scope{downloads | movies | music | pictures}; }

  constexpr Scope() = default;
  constexpr explicit Scope(std::int64_t raw) : rawValue(raw) {}
  // Scope::of({Scope::downloads, Scope::music})
  static constexpr Scope of(std::initializer_list<std::int64_t> members) {
    Scope s;
    for (std::int64_t m : members)
      s.rawValue |= m;
    return s;
  }

  constexpr bool contains(std::int64_t member) const { return (rawValue & member) == member; }
  constexpr bool isEmpty() const { return rawValue == 0; }

  constexpr Scope unionWith(Scope other) const { return Scope{rawValue | other.rawValue}; }
  constexpr Scope intersection(Scope other) const { return Scope{rawValue & other.rawValue}; }
  constexpr Scope symmetricDifference(Scope other) const {
    return Scope{rawValue ^ other.rawValue};
  }
  constexpr Scope subtracting(Scope other) const { return Scope{rawValue & ~other.rawValue}; }
  constexpr bool isSubset(Scope of) const { return (rawValue & ~of.rawValue) == 0; }
  constexpr bool isSuperset(Scope of) const { return of.isSubset(*this); }
  constexpr bool isDisjoint(Scope with) const { return (rawValue & with.rawValue) == 0; }

  // In-place forms. insert and remove answer whether the set changed.
  constexpr bool insert(std::int64_t member) {
    bool had = contains(member);
    rawValue |= member;
    return !had;
  }
  constexpr bool remove(std::int64_t member) {
    bool had = (rawValue & member) != 0;
    rawValue &= ~member;
    return had;
  }
  constexpr void formUnion(Scope other) { rawValue |= other.rawValue; }
  constexpr void formIntersection(Scope other) { rawValue &= other.rawValue; }
  constexpr void formSymmetricDifference(Scope other) { rawValue ^= other.rawValue; }
  constexpr void subtract(Scope other) { rawValue &= ~other.rawValue; }

  constexpr Scope operator|(Scope other) const { return unionWith(other); }
  constexpr Scope operator&(Scope other) const { return intersection(other); }
  constexpr Scope operator^(Scope other) const { return symmetricDifference(other); }
  constexpr Scope operator-(Scope other) const { return subtracting(other); }
  bool operator==(const Scope&) const = default;
};

// A copy with no modification date sorts as if made at the start of time.
inline constexpr TimePoint kDistantPast = TimePoint::min();

struct FileRef {
  std::string path;
  std::int64_t bytes = 0;  // logical size
  TimePoint modified = kDistantPast;
  FileIdentity identity;  // one file, however many paths reach it, is listed once
  bool operator==(const FileRef&) const = default;
};

struct Group {
  std::string hashHex;  // SHA-256 of the whole content, lower-case
  std::int64_t bytes = 0;
  std::vector<FileRef> files;  // the copy kept by default first, at least two
  bool operator==(const Group&) const = default;
};

// What one search hands back.
struct Result {
  std::vector<Group> groups;
  std::vector<std::string> skipped;  // folders the system would not let the search read
};

}  // namespace dw::DuplicateScanner
