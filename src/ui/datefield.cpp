#include "ui/datefield.h"

#include "model/modelenvironment.h"
#include "model/mydateformatter.h"
#include "model/naturaldatereader.h"

#include <QAction>
#include <QCalendarWidget>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QLocale>
#include <QMenu>
#include <QToolButton>
#include <QWidgetAction>

DateField::DateField(ObjectContext& store, QWidget* parent)
    : QWidget(parent), m_store(store), m_edit(new QLineEdit(this)), m_button(new QToolButton(this)), m_menu(new QMenu(m_button)),
      m_calendar(new QCalendarWidget(m_menu))
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(m_edit, 1);
    layout->addWidget(m_button);

    m_edit->setClearButtonEnabled(true);
    m_button->setIcon(QIcon::fromTheme(QStringLiteral("view-calendar"), QIcon::fromTheme(QStringLiteral("x-office-calendar"))));
    if (m_button->icon().isNull())
        m_button->setText(QStringLiteral("…"));
    m_button->setToolTip(tr("Choose a date"));
    m_button->setPopupMode(QToolButton::InstantPopup);
    m_button->setMenu(m_menu);
    m_calendar->setGridVisible(false);
    auto* holder = new QWidgetAction(m_menu);
    holder->setDefaultWidget(m_calendar);
    m_menu->addAction(holder);
    setFocusProxy(m_edit);

    connect(m_menu, &QMenu::aboutToShow, this, &DateField::prepareCalendar);
    connect(m_calendar, &QCalendarWidget::clicked, this, &DateField::chooseFromCalendar);
    connect(m_calendar, &QCalendarWidget::activated, this, &DateField::chooseFromCalendar);
    connect(m_edit, &QLineEdit::editingFinished, this, [this] {
        if (m_edit->isModified())
            commitText();
    });
    connect(m_edit, &QLineEdit::textEdited, this, [this] { setError(false); });
}

void DateField::setFieldName(const QString& objectName, const QString& accessibleName)
{
    setObjectName(objectName);
    setAccessibleName(accessibleName);
    m_edit->setObjectName(objectName + QStringLiteral("Text"));
    m_edit->setAccessibleName(accessibleName);
    m_button->setObjectName(objectName + QStringLiteral("Calendar"));
    m_button->setAccessibleName(accessibleName + tr(" calendar"));
    m_calendar->setObjectName(objectName + QStringLiteral("CalendarPopup"));
    m_calendar->setAccessibleName(accessibleName + tr(" calendar"));
}

QString DateField::textForDate(const QDateTime& date) const
{
    if (!date.isValid())
        return QString();
    return QLocale::system().toString(date.toLocalTime().date(), QLocale::ShortFormat);
}

void DateField::setDate(const QDateTime& date)
{
    m_date = date;
    setError(false);
    m_edit->setPlaceholderText(QString());
    const QString text = textForDate(date);
    if (m_edit->text() != text) {
        const int cursor = m_edit->cursorPosition();
        m_edit->setText(text);
        if (m_edit->hasFocus())
            m_edit->setCursorPosition(std::min<int>(cursor, text.size()));
    }
    m_edit->setModified(false);
}

void DateField::setMixed()
{
    m_date = QDateTime();
    setError(false);
    m_edit->clear();
    m_edit->setPlaceholderText(tr("Multiple values"));
    m_edit->setModified(false);
}

void DateField::commitText()
{
    const QString text = m_edit->text().trimmed();
    m_edit->setModified(false);
    if (text.isEmpty()) {
        m_date = QDateTime();
        setError(false);
        Q_EMIT dateEdited(QDateTime());
        return;
    }
    const ModelEnvironment& environment = ModelEnvironment::of(m_store);
    MyDateFormatter formatter(environment);
    if (environment.boolPreference(u"datesUseNaturalLanguage"))
        formatter.setNaturalLanguageReader(
            [&environment](const QString& typed) { return dateWithNaturalLanguageString(typed, environment.now()); });
    const std::optional<QDateTime> read = formatter.getObjectValue(text);
    if (!read || !read->isValid()) {
        setError(true);
        return;
    }
    setError(false);
    m_date = *read;
    Q_EMIT dateEdited(m_date);
}

void DateField::setError(bool error)
{
    if (m_error == error)
        return;
    m_error = error;
    static const QString kErrorTip = tr("This text does not read as a date.");
    // An icon and a tool tip rather than a colour: they read the same in light and dark themes.
    const QList<QAction*> actions = m_edit->actions();
    for (QAction* a : actions)
        if (a->objectName() == QStringLiteral("dateError")) {
            m_edit->removeAction(a);
            a->deleteLater();
        }
    if (error) {
        auto* mark = new QAction(QIcon::fromTheme(QStringLiteral("dialog-error")), kErrorTip, m_edit);
        mark->setObjectName(QStringLiteral("dateError"));
        m_edit->addAction(mark, QLineEdit::TrailingPosition);
    }
    m_edit->setToolTip(error ? kErrorTip : QString());
    m_edit->setAccessibleDescription(error ? kErrorTip : QString());
    m_edit->setProperty("invalid", error);
}

void DateField::prepareCalendar()
{
    const QDate shown = m_date.isValid() ? m_date.toLocalTime().date() : ModelEnvironment::of(m_store).now().date();
    m_calendar->setSelectedDate(shown);
}

void DateField::chooseFromCalendar(QDate day)
{
    m_menu->close();
    if (!day.isValid())
        return;
    // Keep the time of day of a date that has one: the calendar chooses a day, not an instant.
    QDateTime chosen = m_date.isValid() ? QDateTime(day, m_date.toLocalTime().time()) : day.startOfDay();
    setDate(chosen);
    Q_EMIT dateEdited(chosen);
}
