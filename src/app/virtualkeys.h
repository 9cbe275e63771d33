#pragma once

#include <Qt>

// The stored hot-key preferences hold the key codes of the keyboard layout the preference file was first
// written for (97 is F6, 98 F7, 100 F8, …); everything else works with Qt keys. This is the one place
// that reads them.

// The Qt key of a stored key code; 0 (no key) for 0 or less and for codes no key is known by.
int qtKeyForVirtualKeyCode(int code);
// The stored key code of a Qt key; -1 when it has none.
int virtualKeyCodeForQtKey(int key);
