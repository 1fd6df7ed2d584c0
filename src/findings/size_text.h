#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace dw {

// Below 1 byte "0 MB"; below 2^30 bytes whole mebibytes, halves away from zero ("1023 MB");
// from 2^30 up gibibytes with at most two decimals ("1 GB", "1.5 GB", "1,234.56 GB").
std::string sizeText(std::int64_t bytes);
// A file's size as a person should read it: its length, and when that is not what it takes on
// disk (a sparse disk image), both: "8 GB, 0 MB on disk". Just sizeText(onDisk) when the two
// read the same or the length is not known (0).
std::string sizeOnDiskText(std::int64_t length, std::int64_t onDisk);

// "1 cache", "3 copies", "2 duplicate groups": the last word is made plural when n is not 1.
std::string countNoun(std::int64_t n, std::string_view noun);
std::string plural(std::string_view word);

}  // namespace dw
