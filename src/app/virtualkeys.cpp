#include "app/virtualkeys.h"

#include <utility>

namespace {

// Key code → Qt key, for the keys of the US layout that carry a code of their own.
constexpr std::pair<int, int> keyTable[] = {
    {0, Qt::Key_A},          {1, Qt::Key_S},          {2, Qt::Key_D},        {3, Qt::Key_F},         {4, Qt::Key_H},
    {5, Qt::Key_G},          {6, Qt::Key_Z},          {7, Qt::Key_X},        {8, Qt::Key_C},         {9, Qt::Key_V},
    {11, Qt::Key_B},         {12, Qt::Key_Q},         {13, Qt::Key_W},       {14, Qt::Key_E},        {15, Qt::Key_R},
    {16, Qt::Key_Y},         {17, Qt::Key_T},         {18, Qt::Key_1},       {19, Qt::Key_2},        {20, Qt::Key_3},
    {21, Qt::Key_4},         {22, Qt::Key_6},         {23, Qt::Key_5},       {25, Qt::Key_9},        {26, Qt::Key_7},
    {28, Qt::Key_8},         {29, Qt::Key_0},         {31, Qt::Key_O},       {32, Qt::Key_U},        {34, Qt::Key_I},
    {35, Qt::Key_P},         {36, Qt::Key_Return},    {37, Qt::Key_L},       {38, Qt::Key_J},        {40, Qt::Key_K},
    {45, Qt::Key_N},         {46, Qt::Key_M},         {48, Qt::Key_Tab},     {49, Qt::Key_Space},    {51, Qt::Key_Backspace},
    {53, Qt::Key_Escape},    {64, Qt::Key_F17},       {79, Qt::Key_F18},     {80, Qt::Key_F19},      {90, Qt::Key_F20},
    {96, Qt::Key_F5},        {97, Qt::Key_F6},        {98, Qt::Key_F7},      {99, Qt::Key_F3},       {100, Qt::Key_F8},
    {101, Qt::Key_F9},       {103, Qt::Key_F11},      {105, Qt::Key_F13},    {106, Qt::Key_F16},     {107, Qt::Key_F14},
    {109, Qt::Key_F10},      {111, Qt::Key_F12},      {113, Qt::Key_F15},    {115, Qt::Key_Home},    {116, Qt::Key_PageUp},
    {117, Qt::Key_Delete},   {118, Qt::Key_F4},       {119, Qt::Key_End},    {120, Qt::Key_F2},      {121, Qt::Key_PageDown},
    {122, Qt::Key_F1},       {123, Qt::Key_Left},     {124, Qt::Key_Right},  {125, Qt::Key_Down},    {126, Qt::Key_Up},
};

} // namespace

int qtKeyForVirtualKeyCode(int code)
{
    if (code <= 0)
        return 0;
    for (const auto& [c, key] : keyTable)
        if (c == code)
            return key;
    return 0;
}

int virtualKeyCodeForQtKey(int key)
{
    for (const auto& [c, k] : keyTable)
        if (k == key)
            return c;
    return -1;
}
