#pragma once

#include "exchange/webdavclient.h"

#include <QEventLoop>
#include <QTimer>

#include <optional>
#include <utility>

// Runs the event loop until an asynchronous call answers `(outcome, value)`. The limit only keeps a
// broken test from hanging; it answers NoAnswer with a detail that says so.
template <typename T, typename Call>
std::pair<WebDavOutcome, T> await(Call call)
{
    QEventLoop loop;
    std::optional<std::pair<WebDavOutcome, T>> got;
    call([&](const WebDavOutcome& outcome, T value) {
        got.emplace(outcome, std::move(value));
        loop.quit();
    });
    if (!got) {
        QTimer::singleShot(120000, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return got ? *got
               : std::pair<WebDavOutcome, T>{WebDavOutcome{WebDavOutcome::Kind::NoAnswer, 0, QStringLiteral("the test gave up waiting")}, T{}};
}

// The same for a call that answers with the outcome alone.
template <typename Call>
WebDavOutcome awaitDone(Call call)
{
    return await<int>([&](auto answer) { call([answer](const WebDavOutcome& outcome) { answer(outcome, 0); }); }).first;
}
