#include "bridge/space_map_model.h"

#include <QFileInfo>
#include <QVariantMap>

#include "findings/size_text.h"
#include "platform/desktop.h"
#include "scanners/spacemap/space_map.h"
#include "scanners/spacemap/space_map_labels.h"
#include "texts/lists.h"
#include "texts/scan.h"

namespace dw::ui {

SpaceMapModel::SpaceMapModel(ScanModel& model, QObject* parent) : QObject(parent), model_(model) {}

void SpaceMapModel::modelChanged(ScanModel::Field field) {
  using F = ScanModel::Field;
  if (field == F::spaceRoot || field == F::spacePath || field == F::spaceSelected ||
      field == F::spaceScanning || field == F::spaceComplete) {
    emit changed();
  }
}

QVariantList SpaceMapModel::crumbs() const {
  QVariantList out;
  if (!model_.spaceRoot()) return out;
  out << QVariantMap{{"name", QString::fromStdString(model_.spaceRoot()->name)}, {"level", 0}};
  int level = 0;
  for (const auto& path : model_.spacePath()) {
    out << QVariantMap{{"name", QFileInfo(QString::fromStdString(path)).fileName()},
                       {"level", ++level}};
  }
  return out;
}

QString SpaceMapModel::sizesText() const {
  if (!hasMap()) return {};
  std::string_view text = model_.spaceComplete()     ? texts::scan::kSpaceSizesComplete
                          : model_.spaceCompleting() ? texts::scan::kSpaceSizesCounting
                                                     : texts::scan::kSpaceSizesPartial;
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString SpaceMapModel::currentTitle() const {
  const SpaceMap::Node* node = model_.spaceCurrent();
  return node ? QString::fromStdString(node->name + " · " + sizeText(node->bytes)) : QString();
}

const SpaceMap::Node* SpaceMapModel::selectedNode() const {
  const SpaceMap::Node* node = model_.spaceCurrent();
  if (!node || !model_.spaceSelected()) return nullptr;
  for (const auto& child : node->children)
    if (child.path == *model_.spaceSelected()) return &child;
  return nullptr;
}

QString SpaceMapModel::selectedName() const {
  auto* node = selectedNode();
  return node ? QString::fromStdString(node->name) : QString();
}
QString SpaceMapModel::selectedPath() const {
  auto* node = selectedNode();
  return node ? QString::fromStdString(node->path) : QString();
}
QString SpaceMapModel::selectedSize() const {
  auto* node = selectedNode();
  return node ? QString::fromStdString(sizeText(node->bytes)) : QString();
}
bool SpaceMapModel::selectedHasChildren() const {
  auto* node = selectedNode();
  return node && !node->children.empty();
}

QString SpaceMapModel::adviceTitle() const {
  auto* node = selectedNode();
  if (!node) return {};
  return QString::fromStdString(SpaceMapLabels::advice(node->path, model_.places()).title);
}
QString SpaceMapModel::adviceDetail() const {
  auto* node = selectedNode();
  if (!node) return {};
  return QString::fromStdString(SpaceMapLabels::advice(node->path, model_.places()).detail);
}
QString SpaceMapModel::linkedPage() const {
  auto* node = selectedNode();
  if (!node) return {};
  auto page = SpaceMapLabels::pageToOpen(SpaceMapLabels::advice(node->path, model_.places()));
  return page ? QString::fromStdString(*page) : QString();
}

QString SpaceMapModel::linkedTitle() const {
  auto kind = texts::listOfPage(linkedPage().toStdString());
  return kind ? QString::fromStdString(texts::openListButton(*kind)) : QString();
}

QVariantList SpaceMapModel::cells(double width) const {
  QVariantList out;
  const SpaceMap::Node* node = model_.spaceCurrent();
  if (!node) return out;
  int rank = 0;
  for (const auto& cell : SpaceMap::layoutRow(*node, width)) {
    out << QVariantMap{{"name", QString::fromStdString(cell.node->name)},
                       {"path", QString::fromStdString(cell.node->path)},
                       {"sizeText", QString::fromStdString(sizeText(cell.node->bytes))},
                       {"x", cell.x},
                       {"width", cell.width},
                       {"rank", rank++},
                       {"hasChildren", !cell.node->children.empty()},
                       {"selected", model_.spaceSelected() == cell.node->path}};
  }
  return out;
}

void SpaceMapModel::build() {
  model_.buildSpaceMap();
}

void SpaceMapModel::select(const QString& path) {
  model_.selectSpaceNode(path.isEmpty() ? std::nullopt
                                        : std::optional<std::string>(path.toStdString()));
}

bool SpaceMapModel::enter(const QString& path) {
  return model_.enterSpaceNode(path.toStdString());
}

void SpaceMapModel::leave(int level) {
  if (level >= 0) model_.leaveSpaceNodes(static_cast<size_t>(level));
}

void SpaceMapModel::move(int step) {
  const SpaceMap::Node* node = model_.spaceCurrent();
  if (!node) return;
  std::vector<const SpaceMap::Node*> shown;
  for (const auto& child : node->children)
    if (child.bytes > 0) shown.push_back(&child);
  if (shown.empty()) return;
  int at = -1;
  for (size_t i = 0; i < shown.size(); ++i)
    if (model_.spaceSelected() == shown[i]->path) at = static_cast<int>(i);
  int next = at < 0 ? 0 : std::clamp(at + step, 0, static_cast<int>(shown.size()) - 1);
  model_.selectSpaceNode(shown[static_cast<size_t>(next)]->path);
}

void SpaceMapModel::reveal() {
  if (auto* node = selectedNode()) platform::revealInFileManager(node->path);
}

}  // namespace dw::ui
