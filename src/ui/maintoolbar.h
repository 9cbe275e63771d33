#pragma once

#include <QHash>
#include <QStringList>
#include <QToolBar>

class Preferences;
class QAction;
class QActionGroup;
class QLineEdit;
class QProgressBar;
class QWidgetAction;

// The main toolbar: its item table (identifiers, labels, tool tips, images), the default and allowed
// items, the item that shows the current view, and the user's own choice of items, kept under
// "mainToolbarItems" (the identifiers in order; "separator", "space" and "flexibleSpace" included).
// Its context menu shows and hides items, switches to labels only ("toolbarShowTextOnly") and hides
// the bar.
class MainToolbar : public QToolBar {
    Q_OBJECT
public:
    MainToolbar(Preferences& preferences, QWidget* parent = nullptr);

    static QStringList defaultItemIdentifiers();
    static QStringList allowedItemIdentifiers();
    static QStringList selectableItemIdentifiers();

    // The command behind an item; nullptr for a view item or an unknown identifier.
    QAction* itemAction(const QString& identifier) const { return m_actions.value(identifier); }
    QLineEdit* searchField() const { return m_searchField; }
    QProgressBar* progressBar() const { return m_progressBar; }

    // Marks the item as the selected one (the view on show); others lose the mark.
    void selectToolbarItem(const QString& identifier);
    QString selectedItemIdentifier() const;

    QStringList itemIdentifiers() const { return m_items; }
    void setItemIdentifiers(const QStringList& identifiers);
    void setShowTextOnly(bool textOnly);
    // The progress item shows only while something runs.
    void setBusy(bool busy);

Q_SIGNALS:
    // The user asked for the bar to be hidden from its own menu.
    void hideRequested();

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void rebuild();

    Preferences& m_preferences;
    QHash<QString, QAction*> m_actions;
    QActionGroup* m_selectable = nullptr;
    QLineEdit* m_searchField = nullptr;
    QProgressBar* m_progressBar = nullptr;
    QWidgetAction* m_searchAction = nullptr;
    QWidgetAction* m_progressAction = nullptr;
    QList<QWidgetAction*> m_spacers;
    QStringList m_items;
};
