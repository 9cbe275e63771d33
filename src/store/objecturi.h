#pragma once

#include <QString>

#include <optional>

// Record identifiers as text: "x-coredata://<store UUID>/<entity>/p<primary key>". A task link is the
// same text with "vyro://" in place of "x-coredata://".
struct ObjectURIParts {
    QString storeUUID;
    QString entity;
    qint64 primaryKey = 0;
};

QString formatObjectURI(const QString& storeUUID, const QString& entity, qint64 primaryKey);
std::optional<ObjectURIParts> parseObjectURI(const QString& uri);
// "x-coredata://…" <-> "vyro://…"; other text is returned unchanged.
QString taskLinkFromObjectURI(const QString& uri);
QString objectURIFromTaskLink(const QString& link);
