#include "ui/movetokeyfield.h"

#include "lists/movetokeyboardcontrol.h"

#include <QFocusEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>

MoveToKeyField::MoveToKeyField(std::unique_ptr<MoveToKeyboardControl> control, const QString& label, QWidget* parent)
    : QWidget(parent), m_control(std::move(control)), m_label(new QLabel(label, this)), m_text(new QLabel(this))
{
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_KeyCompression, false);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(8, 6, 8, 6);
    layout->addWidget(m_label);
    layout->addWidget(m_text, 1);
    QFont bold = m_text->font();
    bold.setWeight(QFont::DemiBold);
    m_text->setFont(bold);
    m_label->setForegroundRole(QPalette::PlaceholderText);
    setMinimumWidth(260);
    updateLook();
}

MoveToKeyField::~MoveToKeyField() = default;

QString MoveToKeyField::text() const
{
    return m_text->text();
}

void MoveToKeyField::setText(const QString& text)
{
    m_text->setText(text);
    setAccessibleDescription(text);
}

void MoveToKeyField::updateFromControl()
{
    setText(m_control->text());
    updateLook();
}

void MoveToKeyField::updateLook()
{
    m_label->setVisible(m_control->isLabelVisible());
    // The control's colours are deliberate accents: a dark red while focused, grey otherwise.
    const Colour c = m_control->textColour();
    QPalette palette = m_text->palette();
    palette.setColor(QPalette::WindowText, QColor::fromRgbF(float(c.red), float(c.green), float(c.blue), float(c.alpha)));
    m_text->setPalette(palette);
}

bool MoveToKeyField::event(QEvent* event)
{
    // Tab belongs to the control (it asks the sheet for its next control), not to Qt's focus chain.
    if (event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Tab && key->modifiers() == Qt::NoModifier) {
            keyPressEvent(key);
            return true;
        }
    }
    return QWidget::event(event);
}

void MoveToKeyField::keyPressEvent(QKeyEvent* event)
{
    // Escape types a control character, which would only look for a folder named by it; it is the
    // dialog's, to end the walk as desktop dialogs do.
    if (event->key() == Qt::Key_Escape) {
        QWidget::keyPressEvent(event);
        return;
    }
    KeyPress press{event->key(), event->modifiers(), event->text()};
    const auto handle = [this, &press] { return m_control->keyDown(press); };
    const bool used = m_wrapper ? m_wrapper(press, handle) : handle();
    updateFromControl();
    if (used) {
        event->accept();
        Q_EMIT keyUsed();
    } else {
        QWidget::keyPressEvent(event);
    }
}

void MoveToKeyField::focusInEvent(QFocusEvent* event)
{
    m_control->setFocus(true);
    updateLook();
    QWidget::focusInEvent(event);
}

void MoveToKeyField::focusOutEvent(QFocusEvent* event)
{
    m_control->setFocus(false);
    updateLook();
    QWidget::focusOutEvent(event);
}

void MoveToKeyField::mousePressEvent(QMouseEvent* event)
{
    setFocus(Qt::MouseFocusReason);
    QWidget::mousePressEvent(event);
}
