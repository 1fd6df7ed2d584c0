#include "bridge/overview_model.h"

#include <QVariantMap>

#include "texts/overview.h"

namespace dw::ui {

namespace {
namespace overview = texts::overview;

QString s(const std::string& text) {
  return QString::fromStdString(text);
}

overview::StorageAmounts amounts(const ScanModel& model) {
  return overview::storageAmounts(model.volume(), model.caches());
}
}  // namespace

OverviewModel::OverviewModel(const ScanModel& model, QObject* parent)
    : QObject(parent), model_(model) {}

void OverviewModel::modelChanged(ScanModel::Field field) {
  using F = ScanModel::Field;
  switch (field) {
    case F::phase:
    case F::volume:
    case F::volumeName:
    case F::caches:
    case F::lastScannedAt:
    case F::duplicateGroups:
    case F::duplicatesScanning:
      emit changed();
      break;
    default:
      break;
  }
}

QString OverviewModel::volumeName() const {
  return s(model_.volumeName());
}

bool OverviewModel::scanning() const {
  return model_.phase().kind() == ScanModel::Phase::Kind::scanning;
}

QString OverviewModel::totalText() const {
  if (!measured()) return QString::fromUtf8(overview::kMeasuring);
  return s(overview::totalText(amounts(model_)));
}

QVariantList OverviewModel::legend() const {
  overview::StorageAmounts a = amounts(model_);
  auto fraction = [&](const std::string& part) {
    std::int64_t bytes = part == "used"    ? a.used
                         : part == "ready" ? a.ready
                         : part == "held"  ? a.held
                                           : a.free;
    return a.total > 0 ? static_cast<double>(bytes) / static_cast<double>(a.total) : 0.0;
  };
  QVariantList out;
  for (const auto& segment : overview::storageLegend(a)) {
    out.append(QVariantMap{{"part", s(segment.part)},
                           {"label", s(segment.label)},
                           {"fraction", fraction(segment.part)}});
  }
  return out;
}

QString OverviewModel::summary() const {
  if (!measured()) return QString::fromUtf8(overview::kMeasuring);
  return s(overview::storageSummary(amounts(model_)));
}

QString OverviewModel::explanation() const {
  return s(overview::storageExplanation(amounts(model_)));
}

QVariantList OverviewModel::cards() const {
  std::optional<overview::ExtraCopies> copies;
  const DuplicateFlow& duplicates = model_.duplicates();
  if (!duplicates.groups().empty()) {
    copies = overview::ExtraCopies{duplicates.extraCopies(), duplicates.extraBytes()};
  }
  QVariantList out;
  for (const auto& c : overview::cards(model_.caches(), scanning(), copies, model_.wording(),
                                       model_.duplicatesScanning(), measured())) {
    out.append(QVariantMap{{"title", s(c.title)},
                           {"symbol", s(c.symbol)},
                           {"value", s(c.value)},
                           {"detail", s(c.detail)},
                           {"badge", s(c.badge)},
                           {"badgeKind", s(c.badgeKind)},
                           {"page", s(c.page)}});
  }
  return out;
}

QString OverviewModel::readyHeading() const {
  if (!measured()) return QString::fromUtf8(overview::kReadyMeasuring);
  return s(overview::readyHeading(amounts(model_).ready));
}

QString OverviewModel::readyLine() const {
  return QString::fromUtf8(overview::kReadyLine);
}

QString OverviewModel::reviewTitle() const {
  if (!measured() || scanning()) return QStringLiteral("Review");
  return s(overview::reviewButton(amounts(model_).ready));
}

bool OverviewModel::reviewEnabled() const {
  return measured() && !scanning() && amounts(model_).ready > 0 &&
         !overview::reviewPlaces(model_.caches()).empty();
}

QVariantList OverviewModel::reviewPlaces() const {
  QVariantList out;
  for (const auto& place : overview::reviewPlaces(model_.caches()))
    out.append(QVariantMap{{"page", s(place.page)}, {"title", s(place.title)}});
  return out;
}

}  // namespace dw::ui
