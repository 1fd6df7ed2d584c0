#pragma once
// The Uninstaller's list: the installed apps keyed by their bundle paths, with their icons,
// sizes, last use, the row text the core gives an app that may not be removed (or whose move the
// system refused), and the chosen app's related items. "Uninstall…" asks the model's question of
// the chosen app. The page's search is a SearchFilter over it.

#include <QtQml/qqmlregistration.h>
#include <QAbstractListModel>
#include <QString>
#include <QStringList>
#include <vector>

#include "model/scan_model.h"

namespace dw::ui {

class AppListModel : public QAbstractListModel {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("The bridge's lists are made by the bridge.")
  Q_PROPERTY(int count READ rowCount NOTIFY listChanged)
  Q_PROPERTY(bool loading READ loading NOTIFY listChanged)
  // A listing has finished (before it, the page shows no count and no empty state).
  Q_PROPERTY(bool listed READ listed NOTIFY listChanged)
  Q_PROPERTY(QString title READ title NOTIFY listChanged)
  Q_PROPERTY(QString detail READ detail CONSTANT)
  Q_PROPERTY(bool hasCurrent READ hasCurrent NOTIFY currentChanged)
  Q_PROPERTY(QString currentName READ currentName NOTIFY currentChanged)
  Q_PROPERTY(QVariantList currentItems READ currentItems NOTIFY currentChanged)
  Q_PROPERTY(QString currentItemsHeading READ currentItemsHeading NOTIFY currentChanged)
  Q_PROPERTY(QString currentSize READ currentSize NOTIFY currentChanged)
  Q_PROPERTY(bool canUninstall READ canUninstall NOTIFY currentChanged)

 public:
  enum Role {
    KeyRole = Qt::UserRole + 1,  // the bundle's path
    NameRole,
    SizeTextRole,
    DetailRole,
    RowTextRole,
    CurrentRole,
    IconRole,  // an image: URL of the app's icon (its own, else the generic one)
    LastUsedRole,
    NeedsAdminRole,
    SoftwareManagerRole  // removed with the system's software manager, never by us
  };
  explicit AppListModel(ScanModel& model, QObject* parent = nullptr);

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

  bool loading() const { return model_.appsLoading(); }
  bool listed() const { return model_.apps().listed(); }
  // "12 apps": every listed app, whatever the search.
  QString title() const;
  QString detail() const;
  QString currentItemsHeading() const;
  bool hasCurrent() const { return currentApp() != nullptr; }
  QString currentName() const;
  // The bundle and then its related items: name and place (the folder, the home shown as "~").
  QVariantList currentItems() const;
  QString currentSize() const;
  bool canUninstall() const;
  // The chosen app, if any.
  const AppUninstaller::AppRecord* currentApp() const;
  // "Last used Mar 4", in the user's locale; "Last used —" when the system keeps no date.
  static QString lastUsedText(const AppUninstaller::AppRecord& app, TimePoint now);

  Q_INVOKABLE void refresh();
  // The page's first visit: lists the apps unless a listing has run or runs.
  Q_INVOKABLE void listOnce();
  // Chooses the app with this key; "" chooses none.
  Q_INVOKABLE void choose(const QString& key);
  // "Uninstall…": the question of the chosen app with its data.
  Q_INVOKABLE void requestMove();
  // Shows the app in the file manager.
  Q_INVOKABLE void reveal(const QString& key);

  void modelChanged(ScanModel::Field field);

 signals:
  void listChanged();
  void currentChanged();

 private:
  const AppUninstaller::AppRecord& at(int row) const;
  const AppUninstaller::AppRecord* find(const QString& key) const;

  ScanModel& model_;
  QString current_;  // the chosen app's key
};

}  // namespace dw::ui
