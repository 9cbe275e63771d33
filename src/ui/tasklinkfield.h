#pragma once

#include <QStringList>
#include <QWidget>

#include <optional>

class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QMenu;
class QMimeData;

// The links of the tasks in the detail pane, one rounded token per link with its short label, and a line
// to type a new one in.
//
// The field owns no data: it shows what it is given and tells what the user asked for. A token typed
// (Return or a comma) or removed gives the whole new list; links pasted or dropped are offered as they
// come, and the owner decides which are new. Each token has a menu: open, reveal (files), copy.
class TaskLinkField : public QWidget {
    Q_OBJECT
public:
    explicit TaskLinkField(QWidget* parent = nullptr);

    // nullopt: the tasks shown have different links ("Multiple values", no tokens).
    void setLinks(const std::optional<QStringList>& links);
    QStringList links() const;
    QStringList selectedLinks() const;
    void selectLink(const QString& link);

    // Makes a token of what is typed but not yet committed.
    void commitTypedText();
    // The token menu of `link`, filled into `menu` (emptied first).
    void fillMenu(QMenu& menu, const QString& link);
    // The paste command: the clipboard's links, by the paste rule.
    void paste();
    // The copy command: the selected tokens' links to the clipboard.
    void copySelection() const;

    QListWidget* tokenList() const { return m_tokens; }
    QLineEdit* input() const { return m_input; }

Q_SIGNALS:
    void linksEdited(const QStringList& links);
    void linksOffered(const QStringList& links);
    void openRequested(const QString& link);
    void revealRequested(const QString& link);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void removeSelection();
    void showMenu(const QPoint& position);
    bool offer(const QMimeData* data);

    QListWidget* m_tokens = nullptr;
    QLineEdit* m_input = nullptr;
};
