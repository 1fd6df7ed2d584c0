// The duplicate flow's other way to get space back: the selected copies share their kept copy's
// blocks on file systems that can, instead of moving to the Trash. It runs as a move does (the
// clearing phase, progress, a stop after the copy in hand, the log), through startMoving.

#include "model/scan_model.h"

namespace dw {

bool ScanModel::canShareDuplicates() const {
  return Sharing::canShareAny(duplicateGroups_, duplicateSurvey_);
}

Sharing::Plan ScanModel::sharePlan() const {
  return Sharing::plan(selectedDuplicateCopies(), duplicateSurvey_);
}

void ScanModel::shareDuplicates() {
  if (duplicateSelected_.empty()) {
    message_ = "Select extra copies to share first. One copy of each file stays.";
    notify(Field::message);
    return;
  }
  std::vector<Clearing::DuplicateCopy> copies = selectedDuplicateCopies();
  // The files a share can change, read again afterwards; the rest of the survey stands.
  std::vector<std::string> files;
  for (const auto& copy : copies) {
    files.push_back(copy.path);
    files.push_back(copy.keptPath);
  }
  int count = static_cast<int>(copies.size());
  startMoving(std::string(Sharing::kSharingMessage), count,
              [this, copies = std::move(copies), files = std::move(files), places = places_,
               scope = duplicateSearchedScope_, before = duplicateSurvey_](
                  std::stop_token stop, const auto& onProgress) -> std::function<void()> {
                Sharing::Outcome outcome = Sharing::share(copies, places, scope, stop, onProgress);
                // The groups' files as they are now, for the next review.
                Sharing::Survey survey = before;
                for (auto& [path, facts] : Sharing::survey(files).files)
                  survey.files[path] = std::move(facts);
                return [this, outcome = std::move(outcome), survey = std::move(survey)]() mutable {
                  finishDuplicateShare(std::move(outcome), std::move(survey));
                };
              });
}

void ScanModel::finishDuplicateShare(Sharing::Outcome outcome, Sharing::Survey survey) {
  // Every file stays in its group: a shared copy is still a copy, it only holds no space of its
  // own. What is done leaves the selection: shared now, or sharing already.
  bool deselected = false;
  for (const auto& path : outcome.sharedPaths)
    deselected = duplicateSelected_.erase(path) > 0 || deselected;
  for (const auto& planned : Sharing::plan(selectedDuplicateCopies(), survey).copies) {
    if (planned.reason == Sharing::kAlreadySharing)
      deselected = duplicateSelected_.erase(planned.copy.path) > 0 || deselected;
  }
  if (deselected) notify(Field::duplicateSelected);
  duplicateSurvey_ = std::move(survey);
  notify(Field::duplicateSharing);
  endMoving(outcome, Sharing::message(outcome));
}

}  // namespace dw
