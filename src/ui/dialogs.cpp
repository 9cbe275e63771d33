#include "ui/dialogs.h"

#include <QMessageBox>
#include <QPushButton>

bool Dialogs::confirm(QWidget* parent, const QString& title, const QString& text, const QString& defaultButton,
                      const QString& otherButton)
{
    QMessageBox box(QMessageBox::Question, title, text, QMessageBox::NoButton, parent);
    box.setWindowModality(Qt::WindowModal);
    QPushButton* yes = box.addButton(defaultButton, QMessageBox::AcceptRole);
    QPushButton* no = box.addButton(otherButton, QMessageBox::RejectRole);
    box.setDefaultButton(yes);
    box.setEscapeButton(no);
    box.exec();
    return box.clickedButton() == yes;
}

void Dialogs::warn(QWidget* parent, const QString& title, const QString& text)
{
    QMessageBox box(QMessageBox::Warning, title, text, QMessageBox::Ok, parent);
    box.setWindowModality(Qt::WindowModal);
    box.exec();
}

void Dialogs::inform(QWidget* parent, const QString& message, const QString& text)
{
    QMessageBox box(QMessageBox::Information, message, message, QMessageBox::Ok, parent);
    box.setInformativeText(text);
    box.setWindowModality(Qt::WindowModal);
    box.exec();
}

int Dialogs::choose(QWidget* parent, const QString& message, const QString& text, const QStringList& buttons)
{
    QMessageBox box(QMessageBox::Question, message, message, QMessageBox::NoButton, parent);
    box.setInformativeText(text);
    box.setWindowModality(Qt::WindowModal);
    QList<QPushButton*> pushButtons;
    for (const QString& title : buttons)
        pushButtons << box.addButton(title, pushButtons.isEmpty() ? QMessageBox::AcceptRole : QMessageBox::RejectRole);
    if (pushButtons.isEmpty())
        return -1;
    box.setDefaultButton(pushButtons.first());
    box.setEscapeButton(pushButtons.last());
    box.exec();
    return int(pushButtons.indexOf(static_cast<QPushButton*>(box.clickedButton())));
}
