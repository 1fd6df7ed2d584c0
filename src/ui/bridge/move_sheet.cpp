#include "bridge/move_sheet.h"

#include <algorithm>

#include "findings/size_text.h"
#include "texts/moves.h"

namespace dw::ui {

namespace {
QString q(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}
}  // namespace

MoveItemsModel::MoveItemsModel(const ScanModel& model, QObject* parent)
    : QAbstractListModel(parent), model_(model) {}

int MoveItemsModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(model_.moves().items().size());
}

QVariant MoveItemsModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const texts::MoveItem& item = model_.moves().items()[static_cast<size_t>(index.row())];
  switch (role) {
    case NameRole:
      return QString::fromStdString(item.name);
    case SizeTextRole:
      return item.bytes ? QString::fromStdString(sizeText(*item.bytes)) : QString();
    case KindWordRole:
      return QString::fromStdString(item.kindWord);
  }
  return {};
}

QHash<int, QByteArray> MoveItemsModel::roleNames() const {
  return {{NameRole, "name"}, {SizeTextRole, "sizeText"}, {KindWordRole, "kindWord"}};
}

void MoveItemsModel::reset() {
  beginResetModel();
  endResetModel();
}

MoveSheet::MoveSheet(ScanModel& model, QObject* parent)
    : QObject(parent), model_(model), items_(model) {}

void MoveSheet::modelChanged(ScanModel::Field field) {
  using F = ScanModel::Field;
  switch (field) {
    case F::confirmItems:
      items_.reset();
      emit itemsChanged();
      break;
    case F::moveStage:
    case F::progress:
    case F::offerRecentlyCleared:
      emit changed();
      break;
    default:
      break;
  }
}

MoveSheet::Stage MoveSheet::stage() const {
  if (picture_) return picture_->stage;
  switch (model_.moveStage()) {
    case MoveRunner::Stage::idle:
      return Stage::Idle;
    case MoveRunner::Stage::asking:
      return Stage::Asking;
    case MoveRunner::Stage::moving:
      return Stage::Moving;
    case MoveRunner::Stage::stopping:
      return Stage::Stopping;
    case MoveRunner::Stage::done:
      return Stage::Done;
  }
  return Stage::Idle;
}

QString MoveSheet::title() const {
  return QString::fromStdString(model_.moves().title());
}

QString MoveSheet::size() const {
  return QString::fromStdString(texts::questionSize(model_.moves().kind(), model_.moves().bytes()));
}

QString MoveSheet::showAllText() const {
  return QString::fromStdString(texts::showAllText(count()));
}

QString MoveSheet::moreText() const {
  return QString::fromStdString(texts::moreText(std::max(0, count() - texts::kConfirmListed)));
}

QString MoveSheet::progress() const {
  if (picture_) return picture_->progress;
  if (stopping()) return q(texts::kStopping);
  const auto& p = model_.progress();
  return p ? QString::fromStdString(texts::progressLine(p->done, p->total, p->current)) : QString();
}

double MoveSheet::fraction() const {
  if (picture_) return picture_->fraction;
  const auto& p = model_.progress();
  return p && p->total > 0 ? static_cast<double>(p->done) / p->total : 0.0;
}

QString MoveSheet::outcome() const {
  if (picture_) return picture_->outcome;
  return QString::fromStdString(model_.moves().outcome());
}

bool MoveSheet::offerRecentlyCleared() const {
  if (picture_) return picture_->stage == Stage::Done;
  return model_.offerRecentlyCleared();
}

int MoveSheet::listed() const {
  return texts::kConfirmListed;
}

QString MoveSheet::symbol() const {
  return QString::fromStdString(words().symbol);
}

QStringList MoveSheet::reassurances() const {
  QStringList lines{QString::fromStdString(words().putBackLine),
                    QString::fromStdString(words().emptyLine)};
  if (std::string stays = model_.moves().staysLine(); !stays.empty()) {
    lines.append(QString::fromStdString(stays));
  }
  return lines;
}

QString MoveSheet::action() const {
  return QString::fromStdString(words().action);
}

texts::QuestionWords MoveSheet::words() const {
  return texts::questionWords(model_.moves().kind(), model_.wording());
}

QString MoveSheet::keysHint() const {
  return q(texts::kConfirmKeysHint);
}

void MoveSheet::move() {
  model_.clearSelected();
}

void MoveSheet::cancel() {
  if (model_.moveStage() == MoveRunner::Stage::moving) {
    model_.stopClearing();
  } else {
    model_.dismissConfirm();
  }
}

void MoveSheet::dismiss() {
  model_.dismissConfirm();
}

void MoveSheet::showPicture(std::optional<Picture> picture) {
  picture_ = std::move(picture);
  emit changed();
}

}  // namespace dw::ui
