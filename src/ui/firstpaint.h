#pragma once

#include <functional>

class QObject;

// Runs `then` once, on the event loop turn after the first paint event anywhere in the application has
// been handled (by then the whole first repaint of the window is through). `context` ends the wait when
// it is destroyed first.
void afterFirstPaint(QObject* context, std::function<void()> then);
