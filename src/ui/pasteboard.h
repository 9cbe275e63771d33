#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

class ObjectContext;
class QMimeData;
class Record;

// The program's own clipboard and drag-and-drop formats. Each carries the object URIs of its records,
// one per line, so a drop or a paste finds the very records again (and nothing of another store).
namespace PasteboardType {
inline const QString copiedTasks = QStringLiteral("application/x-vyro-copied-tasks");
inline const QString cutTasks = QStringLiteral("application/x-vyro-cut-tasks");
// Tasks dragged out of a table: onto a folder they move there, within a natural-order table they are
// placed again.
inline const QString movedRows = QStringLiteral("application/x-vyro-moved-rows");
inline const QString movedContexts = QStringLiteral("application/x-vyro-moved-contexts");
inline const QString movedProjects = QStringLiteral("application/x-vyro-moved-projects");
inline const QString movedArchiveCategories = QStringLiteral("application/x-vyro-moved-archivecategories");
} // namespace PasteboardType

QByteArray encodeRecords(const std::vector<Record*>& records);
// The live records of `store` named by `data`, in order; URIs of other stores and deleted records are
// left out.
std::vector<Record*> decodeRecords(const ObjectContext& store, const QByteArray& data);

// Mime data of `type` for `records`, with their names as plain text for other programs.
QMimeData* mimeDataForRecords(const QString& type, const std::vector<Record*>& records);
std::vector<Record*> recordsFromMimeData(const ObjectContext& store, const QMimeData& data, const QString& type);
