#include "storegenerator.h"

#include "model/context.h"
#include "model/datamodel.h"
#include "model/project.h"
#include "model/task.h"
#include "store/objectcontext.h"
#include "store/predicate.h"

#include <QFileInfo>
#include <QStringList>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <unordered_map>
#include <vector>

namespace {

// SplitMix64 with our own range mapping: unlike the standard distributions, it draws the same numbers
// with every compiler and library, so a seed names one store everywhere.
class Random {
public:
    explicit Random(quint64 seed) : m_state(seed) {}

    quint64 next()
    {
        quint64 z = (m_state += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    // 0 <= result < n (the modulo bias is far below anything a benchmark could notice)
    int below(int n) { return int(next() % quint64(n)); }
    int between(int low, int high) { return low + below(high - low + 1); }
    bool chance(double p) { return double(next() >> 11) * 0x1.0p-53 < p; }
    template <typename T, size_t N>
    const T& pick(const std::array<T, N>& items) { return items[size_t(below(int(N)))]; }

    template <typename T>
    void shuffle(std::vector<T>& items)
    {
        for (size_t i = items.size(); i > 1; --i)
            std::swap(items[i - 1], items[size_t(below(int(i)))]);
    }

private:
    quint64 m_state;
};

// Draws indices in proportion to fixed weights.
class WeightedPick {
public:
    explicit WeightedPick(const std::vector<double>& weights)
    {
        double sum = 0;
        for (double w : weights)
            m_cumulative.push_back(sum += w);
    }
    int draw(Random& random) const
    {
        const double x = double(random.next() >> 11) * 0x1.0p-53 * m_cumulative.back();
        return int(std::upper_bound(m_cumulative.begin(), m_cumulative.end(), x) - m_cumulative.begin());
    }

private:
    std::vector<double> m_cumulative;
};

constexpr std::array kVerbs {"Call", "Email", "Review", "Buy", "Fix", "Write", "Plan", "Book", "Pay", "Check",
                             "Update", "Prepare", "Send", "Schedule", "Clean", "Order", "Read", "Draft", "Renew",
                             "Sort", "Ask", "Print", "Return", "Repair", "Organise", "Finish", "Start", "Test",
                             "Pick up", "Look into", "Follow up on", "Cancel", "Confirm", "Replace", "Sign"};

constexpr std::array kWords {
    "the", "new", "old", "quarterly", "monthly", "report", "invoice", "budget", "meeting", "notes", "slides",
    "garden", "fence", "roof", "kitchen", "window", "bike", "car", "tyres", "insurance", "tax", "return",
    "letter", "for", "with", "about", "from", "to", "and", "draft", "plan", "list", "photos", "backup", "server",
    "laptop", "printer", "cartridge", "book", "tickets", "train", "hotel", "flight", "dentist", "doctor",
    "appointment", "birthday", "present", "mum", "dad", "Anna", "Tom", "team", "client", "contract", "offer",
    "proposal", "review", "website", "newsletter", "account", "password", "subscription", "library", "bills",
    "electricity", "water", "heating", "boiler", "shelves", "paint", "hallway", "lawn", "seeds", "tomatoes",
    "compost", "shed", "lock", "keys", "spare", "documents", "passport", "visa", "school", "form", "trip",
    "weekend", "holiday", "groceries", "recipe", "dinner", "party", "guests", "chairs", "table", "lamp",
    "curtains", "carpet", "vacuum", "filter", "battery", "charger", "cable", "monitor", "desk", "schedule",
    "agenda", "minutes", "summary", "figures", "chart", "survey", "results", "samples", "order", "delivery"};

constexpr std::array kTags {"urgent", "home", "work", "phone", "email", "errand", "waiting", "someday", "review",
                            "finance", "health", "family", "garden", "car", "travel", "reading", "writing",
                            "meeting", "shopping", "admin", "tax", "kids", "house", "computer", "music", "sport",
                            "school", "friends", "office", "low-energy"};

constexpr std::array kContacts {"Anna Berg", "Tom Reed", "Dr. Hall", "Maria Lopez", "Sam Okafor", "Jing Wu",
                                "Peter Novak", "Lena Fischer", "the landlord", "the accountant"};

struct ContextNode {
    const char* name;
    std::vector<ContextNode> children;
};

// 5 roots, 15 children, 29 grandchildren; with the Inbox that makes 50 contexts.
const std::vector<ContextNode>& contextTree()
{
    static const std::vector<ContextNode> tree {
        {"Home", {{"Garden", {{"Vegetables", {}}, {"Lawn", {}}, {"Shed", {}}}},
                  {"Kitchen", {{"Pantry", {}}, {"Cooking", {}}}},
                  {"Workshop", {{"Bike", {}}}}}},
        {"Work", {{"Office", {{"Desk", {}}, {"Meetings", {}}}},
                  {"Lab", {{"Samples", {}}, {"Instruments", {}}}},
                  {"Travel", {{"Hotel", {}}, {"Train", {}}}}}},
        {"Errands", {{"Town", {{"Bank", {}}, {"Post office", {}}}},
                     {"Shops", {{"Hardware store", {}}, {"Supermarket", {}}}},
                     {"Car", {{"Garage", {}}}}}},
        {"Computer", {{"Email", {{"Replies", {}}, {"Newsletters", {}}}},
                      {"Online", {{"Forms", {}}}},
                      {"Files", {{"Backups", {}}, {"Photos", {}}}}}},
        {"Calls", {{"Family", {{"Parents", {}}, {"Siblings", {}}}},
                   {"Services", {{"Doctor", {}}, {"Insurance", {}}, {"Utilities", {}}}},
                   {"Colleagues", {{"Team", {}}, {"Clients", {}}}}}},
    };
    return tree;
}

const QString kPinnedContextPath = QStringLiteral("Home > Garden");

QString capitalized(QString s)
{
    if (!s.isEmpty())
        s[0] = s[0].toUpper();
    return s;
}

// A verb and then words up to `words` in all ("Pick up" counts as one).
QString phrase(Random& random, int words)
{
    QString out = QLatin1String(random.pick(kVerbs));
    for (int i = 1; i < words; ++i)
        out += QLatin1Char(' ') + QLatin1String(random.pick(kWords));
    return out;
}

QString notes(Random& random)
{
    QStringList sentences;
    const int count = random.between(1, 4);
    for (int s = 0; s < count; ++s) {
        QString sentence = capitalized(QLatin1String(random.pick(kWords)));
        const int words = random.between(6, 16);
        for (int w = 1; w < words; ++w)
            sentence += QLatin1Char(' ') + QLatin1String(random.pick(kWords));
        sentences << sentence + QLatin1Char('.');
    }
    return sentences.join(QLatin1Char(' '));
}

QString tagList(Random& random)
{
    QStringList tags;
    const int count = random.between(1, 3);
    while (tags.size() < count) {
        const QString tag = QLatin1String(random.pick(kTags));
        if (!tags.contains(tag))
            tags << tag;
    }
    return tags.join(QLatin1Char(','));
}

// Priorities lean to the default 3, efforts to the default 1.
int priority(Random& random)
{
    static constexpr std::array kPriorities {1, 2, 2, 3, 3, 3, 3, 3, 4, 4, 5};
    return random.pick(kPriorities);
}

int effort(Random& random)
{
    static constexpr std::array kEfforts {1, 1, 1, 1, 1, 2, 2, 3, 4, 5};
    return random.pick(kEfforts);
}

} // namespace

Context* findContextByPath(ObjectContext& context, const QString& pathName)
{
    for (Record* r : context.allObjects(QStringLiteral("context")))
        if (static_cast<Context*>(r)->pathName() == pathName)
            return static_cast<Context*>(r);
    return nullptr;
}

Status generateStore(const QString& path, const GeneratorOptions& options, GeneratedStoreInfo* info)
{
    if (options.tasks < 0 || options.projects < 0)
        return Status::invalidArgument(QStringLiteral("Task and project counts cannot be negative"));
    if (QFileInfo::exists(path))
        return Status::invalidArgument(QStringLiteral("%1 already exists").arg(path));

    ObjectContext ctx(managedObjectModel());
    if (Status s = ctx.addSqliteStore(path); !s.isOk())
        return s;
    // Nobody undoes a generated store, and a hundred thousand undo entries would only cost memory.
    ctx.undoManager().setEnabled(false);

    Random random(options.seed);
    const QDateTime now = options.referenceTime.isValid() ? options.referenceTime : QDateTime::currentDateTime();
    const QDateTime today(now.date(), QTime(0, 0));

    // Contexts, parents before children.
    std::vector<Context*> contexts;
    Context* pinned = nullptr;
    Context* inbox = ctx.insertNewObject<Context>(QStringLiteral("context"));
    inbox->setName(QStringLiteral("Inbox"));
    inbox->setIsInbox(true);
    inbox->setSynchronizable(true);
    auto addContexts = [&](auto&& self, const std::vector<ContextNode>& nodes, Context* parent) -> void {
        for (const ContextNode& node : nodes) {
            auto* c = ctx.insertNewObject<Context>(QStringLiteral("context"));
            const QString name = QString::fromUtf8(node.name);
            c->setName(name);
            c->setIsInbox(false);
            c->setSynchronizable(true);
            c->setParentContext(parent);
            contexts.push_back(c);
            if (c->pathName() == kPinnedContextPath)
                pinned = c;
            self(self, node.children, c);
        }
    };
    addContexts(addContexts, contextTree(), nullptr);
    Q_ASSERT(pinned);

    // Projects: a tenth are roots, the rest hang under a root or under a root's child.
    std::vector<Project*> projects;
    std::vector<int> levelOf;
    for (int i = 0; i < options.projects; ++i) {
        auto* p = ctx.insertNewObject<Project>(QStringLiteral("project"));
        const QString name = phrase(random, random.between(2, 5));
        Project* parent = nullptr;
        int level = 0;
        if (i >= std::max(1, options.projects / 10)) {
            // Pick until the parent is a root or a root's child, so the tree stays three levels deep.
            do {
                const int j = random.below(i);
                parent = projects[size_t(j)];
                level = levelOf[size_t(j)] + 1;
            } while (level > 2);
        }
        p->setName(name);
        p->setParentProject(parent);
        // A child takes its parent's active flag when it is made; some are paused on their own later.
        p->setActive(parent ? parent->active() && !random.chance(0.04) : !random.chance(0.05));
        p->setCompleted(random.chance(0.04));
        p->setHasSingleTasks(parent ? parent->hasSingleTasks() : random.chance(0.4));
        if (random.chance(0.3))
            p->setDefaultContext(contexts[size_t(random.below(int(contexts.size())))]);
        if (random.chance(0.2))
            p->setDefaultTags(tagList(random));
        if (random.chance(0.1))
            p->setContent(notes(random));
        projects.push_back(p);
        levelOf.push_back(level);
    }

    // Exact task counts per context: a few for the Inbox, the pinned share for the pinned context, and
    // the rest over the other contexts by a Zipf-like law in a shuffled order, so that sizes run from a
    // few hundred to about twenty thousand.
    const int inboxTasks = options.tasks / 500;
    const int pinnedTasks = std::min(options.tasks - inboxTasks, int(std::lround(options.tasks * options.pinnedContextShare)));
    std::vector<Context*> others;
    for (Context* c : contexts)
        if (c != pinned)
            others.push_back(c);
    random.shuffle(others);
    std::vector<double> weights;
    for (size_t rank = 0; rank < others.size(); ++rank)
        weights.push_back(1.0 / double(rank + 1));
    const double weightSum = std::accumulate(weights.begin(), weights.end(), 0.0);
    std::vector<Context*> placement; // one entry per task, shuffled below
    placement.reserve(size_t(options.tasks));
    placement.insert(placement.end(), size_t(inboxTasks), inbox);
    placement.insert(placement.end(), size_t(pinnedTasks), pinned);
    const int rest = options.tasks - inboxTasks - pinnedTasks;
    int placed = 0;
    for (size_t i = 0; i < others.size(); ++i) {
        const int n = i + 1 == others.size() ? rest - placed : int(std::floor(rest * weights[i] / weightSum));
        placement.insert(placement.end(), size_t(n), others[i]);
        placed += n;
    }
    random.shuffle(placement);

    // Project sizes have a long tail too, ranked in a shuffled order so that size does not follow depth.
    std::vector<Project*> projectsByRank = projects;
    random.shuffle(projectsByRank);
    std::vector<double> projectWeights;
    for (size_t rank = 0; rank < projectsByRank.size(); ++rank)
        projectWeights.push_back(1.0 / std::pow(double(rank + 1), 0.7));
    const WeightedPick projectPick(projectWeights);

    std::unordered_map<Record*, qint64> openInContainer;
    std::unordered_map<Record*, qint64> allInContainer;
    for (int i = 0; i < options.tasks; ++i) {
        auto* t = ctx.insertNewObject<Task>(QStringLiteral("task"));
        Context* context = placement[size_t(i)];
        Project* project = context != inbox && !projects.empty() && random.chance(0.7)
                               ? projectsByRank[size_t(projectPick.draw(random))]
                               : nullptr;
        t->setName(phrase(random, random.between(3, 8)));
        if (random.chance(0.2))
            t->setContent(notes(random));
        const bool done = random.chance(0.25);
        const bool cleanedUp = done && random.chance(0.85);
        t->setDone(done);
        t->setCleanedUp(cleanedUp);
        t->setArchived(false);
        t->setMaybe(random.chance(0.05));
        t->setNextAction(!done && random.chance(0.1));
        t->setWaitingFor(random.chance(0.03));
        t->setDelegated(random.chance(0.02));
        t->setNewInContext(random.chance(0.02));
        t->setNewInProject(project && random.chance(0.02));
        t->setPriority(priority(random));
        t->setEffort(effort(random));
        if (random.chance(0.5))
            t->setTags(tagList(random));
        if (random.chance(0.05))
            t->setContact(QLatin1String(random.pick(kContacts)));
        if (random.chance(0.04))
            t->setUrl(QStringLiteral("https://example.org/%1/%2").arg(QLatin1String(random.pick(kWords))).arg(random.below(10000)));

        QDateTime due;
        if (random.chance(1.0 / 3.0)) {
            due = today.addDays(random.between(-60, 60));
            t->setDueDate(due);
        }
        if (random.chance(0.45))
            t->setStartDate(due.isValid() ? due.addDays(-random.between(0, 14)) : today.addDays(random.between(-90, 14)));
        if (done)
            t->setCompletionDate(now.addSecs(-qint64(random.between(0, 365 * 24)) * 3600));
        if (random.chance(0.03)) {
            t->setRecurMode(1);
            t->setRecurNumber(random.between(1, 4));
            t->setRecurType(random.between(0, 3));
        }

        t->setParentContext(context);
        t->setParentProject(project);
        // Open tasks are numbered densely from 1 per container; a cleaned-up task keeps the place it had
        // among everything that was added before it.
        auto position = [&](Record* container) {
            ++allInContainer[container];
            return cleanedUp ? allInContainer[container] : ++openInContainer[container];
        };
        t->setPositionInContext(position(context));
        if (project)
            t->setPositionInProject(position(project));
    }

    if (Status s = ctx.save(); !s.isOk())
        return s;

    if (info) {
        info->tasks = options.tasks;
        info->contexts = int(contexts.size()) + 1;
        info->projects = int(projects.size());
        info->pinnedContextPath = pinned->pathName();
        info->pinnedContextTasks = int(pinned->tasks().size());
        const FetchRequest pending(QStringLiteral("task"), Predicate::fromFormat(QLatin1String(kContextPendingTasksFormat), {pinned}));
        const auto found = ctx.executeFetchRequest(pending);
        info->pinnedContextPendingTasks = found ? int(found->size()) : -1;
    }
    return Status::ok();
}
