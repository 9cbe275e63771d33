#include "platform/globalhotkeys.h"

#include <gtest/gtest.h>

// The names each mechanism registers a key by; a wrong one grabs another key, or none.
TEST(GlobalHotKeyNames, KeysymAndPortalTriggerOfEachKey)
{
    struct Case {
        int key;
        unsigned int keysym;
        const char* trigger;
    };
    const Case cases[] = {
        {Qt::Key_F1, 0xffbe, "F1"},   {Qt::Key_F6, 0xffc3, "F6"},     {Qt::Key_F8, 0xffc5, "F8"},
        {Qt::Key_F12, 0xffc9, "F12"}, {Qt::Key_F20, 0xffd1, "F20"},   {Qt::Key_A, 'a', "a"},
        {Qt::Key_Z, 'z', "z"},        {Qt::Key_0, '0', "0"},          {Qt::Key_Return, 0xff0d, "Return"},
        {Qt::Key_Up, 0xff52, "Up"},   {Qt::Key_PageDown, 0xff56, "Page_Down"},
        {Qt::Key_Delete, 0xffff, "Delete"}, {0, 0, ""}, {Qt::Key_Shift, 0, ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(keysymForKey(c.key), c.keysym) << c.key;
        EXPECT_EQ(portalTriggerForKey(c.key), QString::fromLatin1(c.trigger)) << c.key;
    }
}
