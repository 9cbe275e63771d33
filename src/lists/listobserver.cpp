#include "lists/listobserver.h"

QString ListChange::toString() const
{
    switch (kind) {
    case Kind::Reset:
        return QStringLiteral("reset");
    case Kind::Insert:
        return QStringLiteral("insert %1-%2").arg(first).arg(last);
    case Kind::Remove:
        return QStringLiteral("remove %1-%2").arg(first).arg(last);
    case Kind::Move:
        return QStringLiteral("move %1 to %2").arg(first).arg(to);
    case Kind::Update:
        return QStringLiteral("update %1-%2 keys %3").arg(first).arg(last).arg(keys, 0, 16);
    }
    return QString();
}
