#pragma once

#include <QString>
#include <QStringList>

class QWidget;

// Every question and warning the window puts to the user passes here, so a test answers them without a
// modal loop. The desktop uses the message boxes of this base.
class Dialogs {
public:
    virtual ~Dialogs() = default;
    // A window-modal question on `parent`; true when the user chose the default button.
    virtual bool confirm(QWidget* parent, const QString& title, const QString& text, const QString& defaultButton,
                         const QString& otherButton);
    virtual void warn(QWidget* parent, const QString& title, const QString& text);
    // A window-modal notice with one "OK" button; `message` is the alert's headline.
    virtual void inform(QWidget* parent, const QString& message, const QString& text);
    // A window-modal choice among `buttons`, the first the default and the last the one Escape picks;
    // returns the index of the button chosen.
    virtual int choose(QWidget* parent, const QString& message, const QString& text, const QStringList& buttons);
};
