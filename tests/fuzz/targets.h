#pragma once
// Every parser of outside input, each behind one function of the input's bytes: the libFuzzer
// targets (tests/fuzz/libfuzzer, built with clang) run them on generated inputs, and the regular
// suite runs them on every file kept in tests/fuzz/inputs/<name>/ (the seeds, and each input a
// fuzzer ever found crashing).

#include <span>
#include <string_view>

namespace dw::fuzz {

struct Target {
  std::string_view name;  // also the folder of its inputs
  void (*run)(std::string_view input);
};

std::span<const Target> targets();
const Target* find(std::string_view name);

}  // namespace dw::fuzz
