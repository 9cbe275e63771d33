#pragma once

#include <QStringList>

class ObjectContext;

// A data file may hold folders whose parents lead back to themselves (written by a faulty release or
// edited by hand): such folders are in no tree, and every walk up their parents would never end. This
// cuts one parent link in each loop, that of the loop's oldest folder, which becomes a root of its
// tree. Every tree relationship of the model is looked at (contexts, projects, archive categories).
// Logs one line per cut and returns, per cut, a message for the user; empty when there was no loop.
// The cuts are ordinary changes, saved by the next save, and left out of undo.
QStringList breakParentLoops(ObjectContext& context);
