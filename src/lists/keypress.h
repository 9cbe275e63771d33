#pragma once

#include <QString>
#include <Qt>

// A key as the headless key rules see it: the Qt key, the modifiers (Command and Control both arrive as
// Ctrl, Option as Alt; a keypad key carries Qt::KeypadModifier) and the characters it produced.
struct KeyPress {
    int key = 0;
    Qt::KeyboardModifiers modifiers;
    QString text;

    bool shift() const { return modifiers.testFlag(Qt::ShiftModifier); }
    bool control() const { return modifiers.testFlag(Qt::ControlModifier); }
    bool alt() const { return modifiers.testFlag(Qt::AltModifier); }
    // The first character produced, or a null QChar.
    QChar character() const { return text.isEmpty() ? QChar() : text.front(); }
};
