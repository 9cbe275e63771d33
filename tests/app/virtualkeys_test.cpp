#include "app/virtualkeys.h"

#include <gtest/gtest.h>

#include <set>

TEST(VirtualKeys, StoredCodesReadAsTheirKeys)
{
    struct Case {
        int code;
        int key;
    };
    const Case cases[] = {
        {97, Qt::Key_F6}, {98, Qt::Key_F7},      {100, Qt::Key_F8},   {122, Qt::Key_F1}, {111, Qt::Key_F12},
        {36, Qt::Key_Return}, {123, Qt::Key_Left}, {126, Qt::Key_Up}, {18, Qt::Key_1},   {28, Qt::Key_8},
        {0, 0}, {-5, 0}, {10, 0}, {127, 0}, {100000, 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(qtKeyForVirtualKeyCode(c.code), c.key) << c.code;
}

TEST(VirtualKeys, EveryKnownCodeHasItsOwnKeyBothWays)
{
    std::set<int> keys;
    for (int code = 1; code < 256; ++code) {
        const int key = qtKeyForVirtualKeyCode(code);
        if (!key)
            continue;
        EXPECT_TRUE(keys.insert(key).second) << "two codes for key " << key;
        EXPECT_EQ(virtualKeyCodeForQtKey(key), code);
    }
    EXPECT_EQ(virtualKeyCodeForQtKey(Qt::Key_F35), -1);
}
