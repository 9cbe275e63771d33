#pragma once

#include <QDateTime>
#include <QWidget>

class ObjectContext;
class QCalendarWidget;
class QLineEdit;
class QMenu;
class QToolButton;

// A date entry: a line edit whose text is read by the date formatter of the task cells ("+3", the
// locale's short form and, while "datesUseNaturalLanguage" is on, free text such as "next friday"),
// relative to the store's clock, plus a button with a calendar pop-up.
//
// Emptied text clears the date; text that does not read as a date marks the field as invalid and
// changes nothing. Only the user's edits are signalled: setDate() and setMixed() are silent.
class DateField : public QWidget {
    Q_OBJECT
public:
    explicit DateField(ObjectContext& store, QWidget* parent = nullptr);

    // Names the field and its parts (`objectName` + "Text", + "Calendar") for tests and screen readers.
    void setFieldName(const QString& objectName, const QString& accessibleName);

    // The date on show; invalid for none (and while mixed).
    QDateTime date() const { return m_date; }
    void setDate(const QDateTime& date);
    // Several tasks with different dates: the text is empty and says so in its placeholder.
    void setMixed();
    bool hasError() const { return m_error; }
    QLineEdit* lineEdit() const { return m_edit; }
    QToolButton* calendarButton() const { return m_button; }
    QCalendarWidget* calendar() const { return m_calendar; }

    // Reads the typed text as the user's edit, as leaving the field does.
    void commitText();
    // The text the field shows for `date`: the locale's short date form, empty for none.
    QString textForDate(const QDateTime& date) const;

Q_SIGNALS:
    // The user chose a date; invalid: cleared.
    void dateEdited(const QDateTime& date);

private:
    void setError(bool error);
    void chooseFromCalendar(QDate day);
    void prepareCalendar();

    ObjectContext& m_store;
    QLineEdit* m_edit;
    QToolButton* m_button;
    QMenu* m_menu;
    QCalendarWidget* m_calendar;
    QDateTime m_date;
    bool m_error = false;
};
