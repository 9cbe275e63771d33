#pragma once

class QWidget;

// What the two entry windows share: they float above every other window and come up in front, active,
// even while another program has the keyboard.

// Window flags of a small floating window (a utility window that stays on top).
void makeFloatingEntryWindow(QWidget& window);
// Shows, raises and activates `window` and puts the focus in `firstField`.
void bringEntryWindowToFront(QWidget& window, QWidget* firstField);
// The main window takes the keyboard again, when it is on screen.
void giveKeyboardBack(QWidget* mainWindow);
