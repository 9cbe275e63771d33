#pragma once

class ObjectContext;

// The data steps of every start, also of the command line's: the Inbox and the "All tasks" smart folder
// are made when missing ("All tasks" gets its name back when renamed), a next-action smart folder of
// older stores is deleted, and completed tasks are cleaned up. Each step saves what it changed.
// Returns how many tasks the clean-up pass took.
int prepareStoreForWork(ObjectContext& context);

struct RecordDocument;

// Records that a store has only once (the Inbox, "All tasks") are not added again from a document:
// when the store has its own, the document's copy is dropped and every reference to it is pointed at
// the store's record.
void mergeSpecialRecordsInto(ObjectContext& context, RecordDocument& document);
