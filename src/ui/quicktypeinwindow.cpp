#include "ui/quicktypeinwindow.h"

#include "capture/quicktypeincontroller.h"
#include "lists/tabviewcontroller.h"
#include "ui/entrywindows.h"

#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

QuickTypeInWindow::QuickTypeInWindow(TabViewController& views, const Preferences& preferences, ObjectContext& store, QWidget* mainWindow)
    : m_views(views), m_preferences(preferences), m_store(store), m_mainWindow(mainWindow)
{
    setObjectName(QStringLiteral("quickTypeInWindow"));
    setAccessibleName(tr("Quick Type-In"));
    setWindowTitle(tr("Quick Type-In"));
    makeFloatingEntryWindow(*this);

    m_line = new QLineEdit;
    m_line->setObjectName(QStringLiteral("taskTextField"));
    m_line->setAccessibleName(tr("Task"));
    m_line->setPlaceholderText(tr("@context [project] name: note #start, due"));
    m_line->setMinimumWidth(m_line->fontMetrics().averageCharWidth() * 60);
    auto* hint = new QLabel(tr("Return adds the task, Escape closes the window."));
    hint->setObjectName(QStringLiteral("quickTypeInHint"));
    hint->setAccessibleName(tr("Hint"));
    hint->setForegroundRole(QPalette::PlaceholderText);
    hint->setBuddy(m_line);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_line);
    layout->addWidget(hint);
    // The window has no buttons, so the dialog's own Return handling would find nothing to press.
    connect(m_line, &QLineEdit::returnPressed, this, &QuickTypeInWindow::accept);
}

void QuickTypeInWindow::toggle()
{
    if (isVisible()) {
        reject();
        return;
    }
    m_line->clear();
    bringEntryWindowToFront(*this, m_line);
}

void QuickTypeInWindow::accept()
{
    const QString line = m_line->text();
    if (line.isEmpty())
        return;
    auto made = QuickTypeInController(m_store).quickTypeInDone(line, m_views.contextTasks(), m_preferences);
    if (!made.isOk())
        return; // the line stays for the user to correct
    finish();
    m_views.performRefetchAction();
}

void QuickTypeInWindow::reject()
{
    finish();
}

void QuickTypeInWindow::finish()
{
    giveKeyboardBack(m_mainWindow);
    QDialog::done(0);
}
