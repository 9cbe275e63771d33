#pragma once

#include <QStringList>

class ObjectContext;

// Tag names for the tags field, taken from the tags already in use.
class TaskTagsController {
public:
    explicit TaskTagsController(const ObjectContext& context) : m_context(context) {}

    // Every tag in lower case that begins with `part` (ignoring case), once, in ascending order. The
    // pieces of a tags text are not trimmed: the " home" of "work, home" never matches "h".
    QStringList autoCompletionsForTagPartName(const QString& part) const;

private:
    const ObjectContext& m_context;
};
