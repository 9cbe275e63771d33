#include "capture/inboxservices.h"

Task* putServiceStringToVyroInbox(ContextTasksArrayController&, const QString&)
{
    return nullptr;
}

Task* openFile(ContextTasksArrayController&, const QString&)
{
    return nullptr;
}
