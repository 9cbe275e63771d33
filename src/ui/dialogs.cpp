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
