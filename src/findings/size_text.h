#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace dw {

// Below 1 byte "0 MB"; below 2^30 bytes whole mebibytes, halves away from zero ("1023 MB");
// from 2^30 up gibibytes with at most two decimals ("1 GB", "1.5 GB", "1,234.56 GB").
std::string sizeText(std::int64_t bytes);

// "1 cache", "3 copies", "2 duplicate groups": the last word is made plural when n is not 1.
std::string countNoun(std::int64_t n, std::string_view noun);
std::string plural(std::string_view word);

}  // namespace dw
