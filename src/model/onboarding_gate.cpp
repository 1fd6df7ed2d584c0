#include "model/onboarding_gate.h"

#include <cstdlib>

namespace dw {

OnboardingGate::OnboardingGate(platform::UserDefaults& defaults) : defaults_(defaults) {
  // A test host never sees it by itself and reads nothing.
  if (std::getenv("XCTestConfigurationFilePath")) return;
  presented_ = !defaults_.boolValue(platform::kOnboardingShownKey);
}

void OnboardingGate::finish(const std::function<void()>& opener) {
  if (opener) opener();
  defaults_.setBool(platform::kOnboardingShownKey, true);
  presented_ = false;
}

}  // namespace dw
