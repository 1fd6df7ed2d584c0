#pragma once
// Whether the welcome sheet is up: at launch when it was never finished (never under a test
// host), and again whenever the user asks for it. Finishing it, either way, is remembered.

#include <functional>
#include <string>

#include "platform/defaults.h"

namespace dw {

class OnboardingGate {
 public:
  explicit OnboardingGate(platform::UserDefaults& defaults);

  bool presented() const { return presented_; }
  // "Welcome to Dustwhale": shows it again; the remembered flag stays.
  void present() { presented_ = true; }
  // "Skip for now" (openSettings false) or the settings button: remembers that it was shown and
  // closes it; opener runs first, when given.
  void finish(const std::function<void()>& opener = {});

 private:
  platform::UserDefaults& defaults_;
  bool presented_ = false;
};

}  // namespace dw
