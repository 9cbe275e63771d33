#pragma once

#include <QString>

class ContextTasksArrayController;
class Task;

// The two ways text and files reach the Inbox from the desktop without a window of ours.

// "New task" in the Inbox with `text` as its note, shown in the window with its name in edit; not saved.
// nullptr when there is no text.
Task* putServiceStringToVyroInbox(ContextTasksArrayController& tasks, const QString& text);

// A file handed to the program: an Inbox task named after the file, whose link is the path read as a URL
// as it stands (a path that is no valid URL text gives no link). nullptr when there is no Inbox.
Task* openFile(ContextTasksArrayController& tasks, const QString& path);
