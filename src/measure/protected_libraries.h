#pragma once
// The media libraries that macOS or an Apple app manages inside a home folder (Music, TV,
// Photos, Photo Booth). The home-folder searches never list anything inside them.

#include <string>
#include <string_view>

namespace dw {

class ProtectedLibraries {
 public:
  // Resolves the home folder's links once; every test afterwards is string work only.
  explicit ProtectedLibraries(std::string_view home);

  // Whether the path (standardised, not resolved) lies in one of the libraries.
  bool contains(std::string_view path) const;

 private:
  std::string home_;           // links resolved, standardised
  std::string homeNoPrivate_;  // the same without a leading "/private", when it had one
  std::string homeWritten_;    // as given, standardised: a walk's paths start with it
};

bool isProtectedLibrary(std::string_view path, std::string_view home);

}  // namespace dw
