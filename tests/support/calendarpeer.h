#pragma once

#include "exchange/caldavclient.h"
#include "exchange/calendartask.h"
#include "support/awaitanswer.h"

#include <QList>

#include <gtest/gtest.h>

// A task resource as the server holds it, with the name of its calendar: what another program on the
// same server sees.
struct PeerTask {
    QString calendar;
    QString href;
    QString etag;
    QByteArray body;
    CalendarTaskResource task;
};

// Every task resource under `home` that reads as a task.
inline QList<PeerTask> tasksOnServer(CalDavClient& client, const QString& home)
{
    QList<PeerTask> tasks;
    const auto [listed, collections] = await<QList<CalDavCollection>>([&](auto done) { client.listCollections(home, done); });
    EXPECT_TRUE(listed.isOk()) << listed.detail.toStdString();
    for (const CalDavCollection& collection : collections) {
        const auto [ok, resources] = await<QList<CalDavResource>>([&](auto done) { client.listResources(collection.href, done); });
        QStringList hrefs;
        for (const CalDavResource& r : resources)
            hrefs << r.href;
        const auto [fetched, bodies] = await<QList<CalDavResource>>(
            [&](auto done) { client.fetchResources(collection.href, hrefs, done); });
        for (const CalDavResource& r : bodies) {
            if (const Result<CalendarTaskResource> read = readCalendarTask(r.body))
                tasks.append({collection.displayName, r.href, r.etag, r.body, *read});
        }
    }
    return tasks;
}
