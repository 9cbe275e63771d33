#include "capture/quicksilverobserver.h"

Task* QuickSilverObserver::observerNotification(const QVariantMap&)
{
    return nullptr;
}
