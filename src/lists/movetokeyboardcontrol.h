#pragma once

#include "lists/keypress.h"
#include "model/colour.h"
#include "store/status.h"

#include <QString>

class MoveToContextSheetController;

// A key-driven control of the move-to sheet: it turns keys into operations of the sheet and shows the
// current folder of the task on show in its text field. Focus shows its label and colours its text.
//
// Keys: Backspace or Delete deletes the task (the walk ends when no task is left to show); left and right
// step the folder; up and down step the walk (ending it past either end); Tab moves to the next control;
// Space flags, Shift-Space completes; Enter (the keypad's) ends the walk. Return is left to the dialog,
// which gives it to the default button. Any other key that types text chooses the first folder whose name
// begins with its first character; each key chooses afresh, there is no type-ahead buffer.
class MoveToKeyboardControl {
public:
    explicit MoveToKeyboardControl(MoveToContextSheetController& sheet) : m_sheet(sheet) {}
    virtual ~MoveToKeyboardControl() = default;
    MoveToKeyboardControl(const MoveToKeyboardControl&) = delete;
    MoveToKeyboardControl& operator=(const MoveToKeyboardControl&) = delete;

    MoveToContextSheetController& moveToContextSheetController() const { return m_sheet; }

    // True when the key was used; an unused key goes on to the dialog's standard handling. Either way the
    // text field shows the current folder afterwards.
    bool keyDown(const KeyPress& key);

    const QString& text() const { return m_text; }
    bool isLabelVisible() const { return m_focused; }
    Colour textColour() const { return m_focused ? focusedTextColour() : Colour::grey(); }
    bool hasFocus() const { return m_focused; }
    void setFocus(bool focused) { m_focused = focused; }

    static constexpr Colour focusedTextColour() { return {0.6, 0.2, 0.2, 1}; }

protected:
    virtual Status stepPrevious() = 0;
    virtual Status stepNext() = 0;
    virtual bool chooseWithNameBeginningWith(const QString& text) = 0;
    virtual QString currentFolderText() const = 0;

private:
    bool handle(const KeyPress& key);

    MoveToContextSheetController& m_sheet;
    QString m_text;
    bool m_focused = false;
};

// Chooses the context; its text field shows the context's name, or "(none)".
class MoveToContextKeyboardControl : public MoveToKeyboardControl {
public:
    using MoveToKeyboardControl::MoveToKeyboardControl;

protected:
    Status stepPrevious() override;
    Status stepNext() override;
    bool chooseWithNameBeginningWith(const QString& text) override;
    QString currentFolderText() const override;
};

// Chooses the project; its text field shows the project's path name, or "(none)".
class MoveToProjectKeyboardControl : public MoveToKeyboardControl {
public:
    using MoveToKeyboardControl::MoveToKeyboardControl;

protected:
    Status stepPrevious() override;
    Status stepNext() override;
    bool chooseWithNameBeginningWith(const QString& text) override;
    QString currentFolderText() const override;
};
