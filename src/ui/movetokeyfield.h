#pragma once

#include <QWidget>

#include "lists/keypress.h"

#include <functional>
#include <memory>

class MoveToKeyboardControl;
class QLabel;

// The widget of one key-driven control of the move-to sheet: it takes the focus, gives every key to its
// control (Tab too, which the control turns into the sheet's next control) and shows the control's label,
// text and text colour. Keys the control leaves alone (Return), and Escape, go on to the dialog.
class MoveToKeyField : public QWidget {
    Q_OBJECT
public:
    MoveToKeyField(std::unique_ptr<MoveToKeyboardControl> control, const QString& label, QWidget* parent = nullptr);
    ~MoveToKeyField() override;

    MoveToKeyboardControl& control() const { return *m_control; }
    // Runs the control's handling of each key (`handle`, which answers whether the key was used); the
    // sheet wraps it to make one undo step of each key. Without one, keys are handled plainly.
    using KeyWrapper = std::function<bool(const KeyPress& key, const std::function<bool()>& handle)>;
    void setKeyWrapper(KeyWrapper wrapper) { m_wrapper = std::move(wrapper); }
    // Shows the control's text (the folder after its last key), label and colour.
    void updateFromControl();
    // Shows `text` in place of the control's text, until the next key: what the sheet shows for a task
    // that has just come on show.
    void setText(const QString& text);
    QString text() const;

Q_SIGNALS:
    // A key was used by the control (the records may have changed).
    void keyUsed();

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    void updateLook();

    std::unique_ptr<MoveToKeyboardControl> m_control;
    QLabel* m_label;
    QLabel* m_text;
    KeyWrapper m_wrapper;
};
