#pragma once

#include <QWidget>

#include <gtest/gtest.h>

// The child widget of `parent` named `name`; a test failure (and nullptr) when there is none.
template <class W>
W* child(QWidget& parent, const QString& name)
{
    W* w = parent.findChild<W*>(name);
    EXPECT_NE(w, nullptr) << name.toStdString();
    return w;
}
