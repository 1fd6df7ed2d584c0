#include "findings/size_text.h"

#include <cstdio>
#include <vector>

#include "base/paths.h"

namespace dw {

namespace {
constexpr std::int64_t kMiB = 1024 * 1024;
constexpr std::int64_t kGiB = kMiB * 1024;

std::string groupThousands(std::int64_t whole) {
  std::string digits = std::to_string(whole);
  std::string out;
  int count = 0;
  for (auto it = digits.rbegin(); it != digits.rend(); ++it) {
    if (count && count % 3 == 0) out.insert(out.begin(), ',');
    out.insert(out.begin(), *it);
    ++count;
  }
  return out;
}
}  // namespace

std::string sizeText(std::int64_t bytes) {
  if (bytes < 1) return "0 MB";
  if (bytes < kGiB) {
    // Integer rounding, halves away from zero: exact for every 64-bit count.
    std::int64_t mib = (bytes + kMiB / 2) / kMiB;
    return std::to_string(mib) + " MB";
  }
  // Hundredths of a gibibyte, rounded half away from zero, in integers so that no count is
  // misread through a double.
  std::int64_t hundredths = bytes / kGiB * 100 + (bytes % kGiB * 100 + kGiB / 2) / kGiB;
  std::int64_t whole = hundredths / 100;
  int fraction = static_cast<int>(hundredths % 100);
  std::string out = groupThousands(whole);
  if (fraction != 0) {
    char buffer[4];
    if (fraction % 10 == 0) {
      std::snprintf(buffer, sizeof buffer, "%d", fraction / 10);
    } else {
      std::snprintf(buffer, sizeof buffer, "%02d", fraction);
    }
    out += '.';
    out += buffer;
  }
  return out + " GB";
}

std::string sizeOnDiskText(std::int64_t length, std::int64_t onDisk) {
  std::string disk = sizeText(onDisk);
  if (length <= 0) return disk;
  std::string whole = sizeText(length);
  return whole == disk ? disk : whole + ", " + disk + " on disk";
}

std::string plural(std::string_view word) {
  std::string w(word);
  auto endsWith = [&](std::string_view tail) {
    return w.size() >= tail.size() && w.compare(w.size() - tail.size(), tail.size(), tail) == 0;
  };
  if (w.size() >= 2 && w.back() == 'y' &&
      std::string_view("aeiou").find(w[w.size() - 2]) == std::string_view::npos) {
    w.pop_back();
    return w + "ies";
  }
  if (endsWith("s") || endsWith("x") || endsWith("ch") || endsWith("sh")) return w + "es";
  return w + "s";
}

std::string countNoun(std::int64_t n, std::string_view noun) {
  std::vector<std::string_view> words = paths::split(noun, ' ');
  std::string out = std::to_string(n);
  for (size_t k = 0; k < words.size(); ++k) {
    out += ' ';
    if (k + 1 == words.size() && n != 1) {
      out += plural(words[k]);
    } else {
      out += words[k];
    }
  }
  return out;
}

}  // namespace dw
