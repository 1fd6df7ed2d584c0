#pragma once
// The confirm sheet's view of the model's one confirmation (MoveRunner), for every kind of move
// (a share of extra copies included): its stage, the question with what would move and its
// words, the progress, and the outcome. The sheet shows these and decides nothing.

#include <QtQml/qqmlregistration.h>
#include <QAbstractListModel>
#include <QObject>
#include <QString>
#include <QStringList>
#include <optional>

#include "model/scan_model.h"
#include "texts/moves.h"

namespace dw::ui {

// What the question lists: name, sizeText (empty for an item never measured) and kindWord.
class MoveItemsModel : public QAbstractListModel {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("The question's list is the sheet's.")
 public:
  enum Role { NameRole = Qt::UserRole + 1, SizeTextRole, KindWordRole };
  explicit MoveItemsModel(const ScanModel& model, QObject* parent = nullptr);
  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;
  // The model's list changed.
  void reset();

 private:
  const ScanModel& model_;
};

class MoveSheet : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("The confirm sheet's state is the bridge's.")
  Q_PROPERTY(Stage stage READ stage NOTIFY changed)
  // The sheet is up: asking, moving, stopping or done.
  Q_PROPERTY(bool up READ up NOTIFY changed)
  Q_PROPERTY(bool moving READ moving NOTIFY changed)
  Q_PROPERTY(bool stopping READ stopping NOTIFY changed)
  Q_PROPERTY(bool done READ done NOTIFY changed)
  Q_PROPERTY(QString title READ title NOTIFY itemsChanged)
  Q_PROPERTY(QString size READ size NOTIFY itemsChanged)
  Q_PROPERTY(int count READ count NOTIFY itemsChanged)
  Q_PROPERTY(dw::ui::MoveItemsModel* items READ items CONSTANT)
  Q_PROPERTY(QString showAllText READ showAllText NOTIFY itemsChanged)
  Q_PROPERTY(QString moreText READ moreText NOTIFY itemsChanged)
  Q_PROPERTY(QString progress READ progress NOTIFY changed)
  Q_PROPERTY(double fraction READ fraction NOTIFY changed)
  Q_PROPERTY(QString outcome READ outcome NOTIFY changed)
  Q_PROPERTY(bool offerRecentlyCleared READ offerRecentlyCleared NOTIFY changed)
  Q_PROPERTY(int listed READ listed CONSTANT)
  // The words that follow from what the question does (a move to the Trash, or a share): its
  // icon, its reassurances (the two of every move, then what stays as it is and why, when
  // something does), its button.
  Q_PROPERTY(QString symbol READ symbol NOTIFY itemsChanged)
  Q_PROPERTY(QStringList reassurances READ reassurances NOTIFY itemsChanged)
  Q_PROPERTY(QString action READ action NOTIFY itemsChanged)
  Q_PROPERTY(QString keysHint READ keysHint CONSTANT)

 public:
  enum class Stage { Idle, Asking, Moving, Stopping, Done };
  Q_ENUM(Stage)

  MoveSheet(ScanModel& model, QObject* parent = nullptr);

  Stage stage() const;
  bool up() const { return stage() != Stage::Idle; }
  bool moving() const { return stage() == Stage::Moving || stage() == Stage::Stopping; }
  bool stopping() const { return stage() == Stage::Stopping; }
  bool done() const { return stage() == Stage::Done; }
  QString title() const;
  QString size() const;
  int count() const { return items_.rowCount(); }
  MoveItemsModel* items() { return &items_; }
  QString showAllText() const;
  QString moreText() const;
  // "3 of 7 · item" while it moves; what it does once a stop is asked for.
  QString progress() const;
  double fraction() const;
  QString outcome() const;
  bool offerRecentlyCleared() const;
  int listed() const;
  QString symbol() const;
  QStringList reassurances() const;
  QString action() const;
  QString keysHint() const;

  // Move to Trash (or Share copies).
  Q_INVOKABLE void move();
  // Cancel, Return and Esc: takes the question down, or stops a move after the item in hand, or
  // takes the outcome down.
  Q_INVOKABLE void cancel();
  // Done, and the way to Recently Cleared: takes the outcome down.
  Q_INVOKABLE void dismiss();

  // The screenshot mode's picture of a moving or done sheet, drawn from the core's texts over
  // the question that is up: nothing moves to take it. None follows the model again.
  struct Picture {
    Stage stage = Stage::Moving;
    QString progress;
    double fraction = 0;
    QString outcome;
  };
  void showPicture(std::optional<Picture> picture);

  void modelChanged(ScanModel::Field field);

 signals:
  void changed();
  void itemsChanged();

 private:
  texts::QuestionWords words() const;

  ScanModel& model_;
  MoveItemsModel items_;
  std::optional<Picture> picture_;
};

}  // namespace dw::ui
