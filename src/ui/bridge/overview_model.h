#pragma once
// Overview's view of the model: the volume's storage bar with its legend and summary, the four
// category cards and the way to review, all as the core words and counts them.

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QString>
#include <QVariantList>

#include "model/scan_model.h"

namespace dw::ui {

class OverviewModel : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("The bridge's overview is made by the bridge.")
  Q_PROPERTY(QString volumeName READ volumeName NOTIFY changed)
  Q_PROPERTY(QString totalText READ totalText NOTIFY changed)
  // The bar's segments in order: part ("used", "ready", "held", "free"), label and fraction of
  // the volume; held space only where the system reports it.
  Q_PROPERTY(QVariantList legend READ legend NOTIFY changed)
  Q_PROPERTY(QString summary READ summary NOTIFY changed)
  Q_PROPERTY(QString explanation READ explanation NOTIFY changed)
  // The four category cards: title, symbol, value, detail, badge, badgeKind, page.
  Q_PROPERTY(QVariantList cards READ cards NOTIFY changed)
  Q_PROPERTY(QString readyHeading READ readyHeading NOTIFY changed)
  Q_PROPERTY(QString readyLine READ readyLine CONSTANT)
  Q_PROPERTY(QString reviewTitle READ reviewTitle NOTIFY changed)
  // Review is offered once a finished scan has measured something ready, and not while a scan
  // runs; reviewPlaces are the pages that hold the ready amount (page, title): Review opens the
  // one, or offers each.
  Q_PROPERTY(bool reviewEnabled READ reviewEnabled NOTIFY changed)
  Q_PROPERTY(QVariantList reviewPlaces READ reviewPlaces NOTIFY changed)

 public:
  explicit OverviewModel(const ScanModel& model, QObject* parent = nullptr);

  QString volumeName() const;
  QString totalText() const;
  QVariantList legend() const;
  QString summary() const;
  QString explanation() const;
  QVariantList cards() const;
  QString readyHeading() const;
  QString readyLine() const;
  QString reviewTitle() const;
  bool reviewEnabled() const;
  QVariantList reviewPlaces() const;

  void modelChanged(ScanModel::Field field);

 signals:
  void changed();

 private:
  // A scan has ended, so there are figures to show (until then, placeholders).
  bool measured() const { return model_.lastScannedAt().has_value(); }
  bool scanning() const;

  const ScanModel& model_;
};

}  // namespace dw::ui
