#pragma once
// The Space Map page's view of the model: the strip of the current folder's children laid out
// by the core's row layout, the breadcrumb of the folders stepped into, and the selected cell
// with the advice the core gives for its path.

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <QVariantList>

#include "model/scan_model.h"

namespace dw::ui {

class SpaceMapModel : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("The bridge's space map is made by the bridge.")
  Q_PROPERTY(bool building READ building NOTIFY changed)
  Q_PROPERTY(bool hasMap READ hasMap NOTIFY changed)
  Q_PROPERTY(QString sizesText READ sizesText NOTIFY changed)
  Q_PROPERTY(QVariantList crumbs READ crumbs NOTIFY changed)
  Q_PROPERTY(QString currentTitle READ currentTitle NOTIFY changed)
  Q_PROPERTY(bool hasSelection READ hasSelection NOTIFY changed)
  Q_PROPERTY(QString selectedName READ selectedName NOTIFY changed)
  Q_PROPERTY(QString selectedPath READ selectedPath NOTIFY changed)
  Q_PROPERTY(QString selectedSize READ selectedSize NOTIFY changed)
  Q_PROPERTY(QString adviceTitle READ adviceTitle NOTIFY changed)
  Q_PROPERTY(QString adviceDetail READ adviceDetail NOTIFY changed)
  Q_PROPERTY(QString linkedPage READ linkedPage NOTIFY changed)
  Q_PROPERTY(QString linkedTitle READ linkedTitle NOTIFY changed)
  Q_PROPERTY(bool selectedHasChildren READ selectedHasChildren NOTIFY changed)

 public:
  explicit SpaceMapModel(ScanModel& model, QObject* parent = nullptr);

  bool building() const { return model_.spaceScanning(); }
  bool hasMap() const { return model_.spaceRoot().has_value(); }
  // Whether the sizes are complete yet, or still being counted.
  QString sizesText() const;
  // One map per level: name, level (0 is the home folder).
  QVariantList crumbs() const;
  QString currentTitle() const;
  bool hasSelection() const { return selectedNode() != nullptr; }
  QString selectedName() const;
  QString selectedPath() const;
  QString selectedSize() const;
  QString adviceTitle() const;
  QString adviceDetail() const;
  // The page the selected folder's files are reviewed on, and its button ("Open Caches").
  QString linkedPage() const;
  QString linkedTitle() const;
  bool selectedHasChildren() const;

  // The current folder's children as cells for a strip this wide: name, path, sizeText, x,
  // width, rank (0 the largest), hasChildren, selected.
  Q_INVOKABLE QVariantList cells(double width) const;
  Q_INVOKABLE void build();
  Q_INVOKABLE void select(const QString& path);
  // Steps into the cell at path when it has children of its own.
  Q_INVOKABLE bool enter(const QString& path);
  Q_INVOKABLE void leave(int level);
  // The neighbour of the selected cell (step -1 or +1), or the first cell when none is chosen.
  Q_INVOKABLE void move(int step);
  Q_INVOKABLE void reveal();

  void modelChanged(ScanModel::Field field);

 signals:
  void changed();

 private:
  const SpaceMap::Node* selectedNode() const;

  ScanModel& model_;
};

}  // namespace dw::ui
