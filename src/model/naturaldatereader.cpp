#include "model/naturaldatereader.h"

#include "model/dateanchors.h"
#include "model/modelenvironment.h"

#include <QTimeZone>

#include <optional>
#include <utility>
#include <vector>

// The text is cut into tokens (words, numbers, a few punctuation marks) and read by a small grammar
// that tries a fixed handful of alternatives at each step. No step loops back over the input, so the
// work is linear in the length of the text, which is itself capped.

namespace {

constexpr qsizetype kMaxLength = 200;

// "in n days", "+n": larger counts are typing mistakes rather than dates, and the bound keeps the
// calendar arithmetic far from overflow.
constexpr qint64 kMaxCount = 10000;

// A number token with more digits than this has no value (-1): nothing here needs one that large.
constexpr int kMaxDigits = 9;

const QTime kTonight(20, 0);

struct Token {
    enum class Kind { Word, Number, Symbol };
    Kind kind = Kind::Symbol;
    QString word;        // Word: ASCII letters, lower case
    qint64 value = -1;   // Number: its value, or -1 when it has more than kMaxDigits digits
    int digits = 0;      // Number: how many digits, leading zeros included
    char16_t symbol = 0; // Symbol: one of kSymbols
    bool spaced = false; // white space stands before it
    qsizetype begin = 0; // [begin, end) in the text
    qsizetype end = 0;
};

constexpr char16_t kSymbols[] = u":/.-,+";

bool isAsciiLetter(char16_t c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

bool isAsciiDigit(char16_t c)
{
    return c >= u'0' && c <= u'9';
}

bool isSymbol(char16_t c)
{
    for (const char16_t* s = kSymbols; *s; ++s)
        if (*s == c)
            return true;
    return false;
}

// nullopt when the text holds a character that no form uses (other punctuation, non-ASCII letters):
// such a text cannot read completely.
std::optional<std::vector<Token>> tokenize(QStringView text)
{
    std::vector<Token> tokens;
    bool spaced = false;
    qsizetype i = 0;
    while (i < text.size()) {
        const char16_t c = text[i].unicode();
        if (QChar::isSpace(c)) {
            spaced = true;
            ++i;
            continue;
        }
        Token t;
        t.spaced = spaced;
        t.begin = i;
        spaced = false;
        if (isAsciiLetter(c)) {
            t.kind = Token::Kind::Word;
            for (; i < text.size() && isAsciiLetter(text[i].unicode()); ++i)
                t.word += QChar(char16_t(text[i].unicode() | 0x20));
        } else if (isAsciiDigit(c)) {
            t.kind = Token::Kind::Number;
            t.value = 0;
            for (; i < text.size() && isAsciiDigit(text[i].unicode()); ++i) {
                ++t.digits;
                t.value = t.digits <= kMaxDigits ? t.value * 10 + (text[i].unicode() - u'0') : -1;
            }
        } else if (isSymbol(c)) {
            t.kind = Token::Kind::Symbol;
            t.symbol = c;
            ++i;
        } else {
            return std::nullopt;
        }
        t.end = i;
        tokens.push_back(std::move(t));
    }
    return tokens;
}

struct Name {
    const char16_t* text;
    int value;
    bool abbreviated;
};

constexpr Name kWeekdays[] = {
    {u"monday", 1, false},   {u"mon", 1, true},       {u"tuesday", 2, false},  {u"tue", 2, true},
    {u"tues", 2, true},      {u"wednesday", 3, false}, {u"wed", 3, true},      {u"thursday", 4, false},
    {u"thu", 4, true},       {u"thur", 4, true},       {u"thurs", 4, true},    {u"friday", 5, false},
    {u"fri", 5, true},       {u"saturday", 6, false},  {u"sat", 6, true},      {u"sunday", 7, false},
    {u"sun", 7, true},
};

constexpr Name kMonths[] = {
    {u"january", 1, false},  {u"jan", 1, true},  {u"february", 2, false}, {u"feb", 2, true},
    {u"march", 3, false},    {u"mar", 3, true},  {u"april", 4, false},    {u"apr", 4, true},
    {u"may", 5, false},      {u"june", 6, false}, {u"jun", 6, true},      {u"july", 7, false},
    {u"jul", 7, true},       {u"august", 8, false}, {u"aug", 8, true},    {u"september", 9, false},
    {u"sep", 9, true},       {u"sept", 9, true}, {u"october", 10, false}, {u"oct", 10, true},
    {u"november", 11, false}, {u"nov", 11, true}, {u"december", 12, false}, {u"dec", 12, true},
};

template <std::size_t N>
const Name* findName(const Name (&names)[N], const QString& word)
{
    for (const Name& name : names)
        if (word == QStringView(name.text))
            return &name;
    return nullptr;
}

enum class Unit { Minute, Hour, Day, Week, Month, Year };

struct UnitName {
    const char16_t* text;
    Unit unit;
};

constexpr UnitName kUnits[] = {
    {u"minute", Unit::Minute}, {u"minutes", Unit::Minute}, {u"min", Unit::Minute}, {u"mins", Unit::Minute},
    {u"hour", Unit::Hour},     {u"hours", Unit::Hour},     {u"day", Unit::Day},    {u"days", Unit::Day},
    {u"week", Unit::Week},     {u"weeks", Unit::Week},     {u"month", Unit::Month}, {u"months", Unit::Month},
    {u"year", Unit::Year},     {u"years", Unit::Year},
};

bool isCalendarUnit(Unit unit)
{
    return unit != Unit::Minute && unit != Unit::Hour;
}

// `n` is at most kMaxCount in size, so none of these can overflow.
QDate shifted(QDate date, Unit unit, qint64 n)
{
    switch (unit) {
    case Unit::Day:
        return date.addDays(n);
    case Unit::Week:
        return date.addDays(7 * n);
    case Unit::Month:
        return date.addMonths(int(n));
    case Unit::Year:
        return date.addYears(int(n));
    case Unit::Minute:
    case Unit::Hour:
        break;
    }
    return {};
}

// Years outside 1..9999 are mistakes; keeping them out also spares the time-zone code dates it
// would have to extrapolate to.
bool usable(QDate date)
{
    return date.isValid() && date.year() >= 1 && date.year() <= 9999;
}

// The locale's short date form, and the same with a four-digit year where that form has two digits.
// Two-digit years are read as 2000-2099 (QLocale puts them in the 1900s).
QDate localeShortDate(QStringView text, const QLocale& locale)
{
    QString format = locale.dateFormat(QLocale::ShortFormat);
    const qsizetype yy = DateAnchors::twoDigitYearAt(format);
    const QDate date = locale.toDate(text.toString(), format);
    if (date.isValid())
        return yy >= 0 ? QDate(2000 + date.year() % 100, date.month(), date.day()) : date;
    if (yy < 0)
        return {};
    format.replace(yy, 2, QStringLiteral("yyyy"));
    return locale.toDate(text.toString(), format);
}

bool allDigits(QStringView text)
{
    for (QChar c : text)
        if (!isAsciiDigit(c.unicode()))
            return false;
    return true;
}

struct DayMatch {
    QDate date;
    std::size_t end = 0; // the token after the match
    bool iso = false;    // "2026-12-24": may go on with "T" and a time that carries an offset
};

struct TimeMatch {
    QTime time;
    std::size_t end = 0;
    bool clock = false;            // "17:00" written with a colon and no am/pm
    std::optional<int> utcOffset;  // seconds east of UTC, when the text gives one ("Z", "+01:00")
};

struct Relative {
    Unit unit;
    qint64 n; // negative for "ago"
    std::size_t end;
};

class Reader {
public:
    Reader(const std::vector<Token>& tokens, QStringView text, const QDateTime& now, const QLocale& locale)
        : m_tokens(tokens)
        , m_text(text)
        , m_now(now.toLocalTime())
        , m_today(m_now.date())
        , m_locale(locale)
    {
    }

    std::optional<QDateTime> read() const;

private:
    std::size_t size() const { return m_tokens.size(); }
    const Token* at(std::size_t i) const { return i < m_tokens.size() ? &m_tokens[i] : nullptr; }
    bool word(std::size_t i, QStringView w) const
    {
        const Token* t = at(i);
        return t && t->kind == Token::Kind::Word && t->word == w;
    }
    // The token at i exists and white space separates it from the one before.
    bool separate(std::size_t i) const { return i < size() && m_tokens[i].spaced; }
    bool gluedSymbol(std::size_t i, char16_t symbol) const
    {
        const Token* t = at(i);
        return t && !t->spaced && t->kind == Token::Kind::Symbol && t->symbol == symbol;
    }
    // A number written right after the token before it, with `minDigits`..`maxDigits` digits.
    const Token* gluedNumber(std::size_t i, int minDigits, int maxDigits) const
    {
        const Token* t = at(i);
        if (!t || t->spaced || t->kind != Token::Kind::Number || t->digits < minDigits || t->digits > maxDigits)
            return nullptr;
        return t;
    }

    std::optional<QDateTime> moment() const;
    std::optional<std::pair<qint64, std::size_t>> countAt(std::size_t i) const;
    std::optional<Unit> unitAt(std::size_t i) const;
    std::optional<Relative> relativeAt(std::size_t i) const;
    void daysAt(std::size_t i, std::vector<DayMatch>& out) const;
    void monthFirstAt(std::size_t i, std::vector<DayMatch>& out) const;
    void dayFirstAt(std::size_t i, std::vector<DayMatch>& out) const;
    std::size_t monthNameAt(std::size_t i, int& month) const;
    std::size_t dayOfMonthAt(std::size_t i, int& day) const;
    void yearsAfter(std::size_t i, int month, int day, std::vector<DayMatch>& out) const;
    void numericAt(std::size_t i, std::vector<DayMatch>& out) const;
    std::optional<TimeMatch> timeAt(std::size_t i, bool allowOffset) const;
    std::optional<int> offsetAt(std::size_t i, std::size_t& end) const;
    QDate nextOccurrence(int month, int day) const;
    QDateTime combine(QDate date, const TimeMatch& time) const;

    const std::vector<Token>& m_tokens;
    QStringView m_text;
    QDateTime m_now;
    QDate m_today;
    const QLocale& m_locale;
};

std::optional<QDateTime> Reader::read() const
{
    if (m_tokens.empty())
        return std::nullopt;
    if (auto m = moment())
        return m;
    if (size() == 1 && word(0, u"tonight"))
        return DateAnchors::localDateTime(m_today, kTonight);

    // A day, alone or with a time after it.
    std::vector<DayMatch> days;
    daysAt(0, days);
    for (const DayMatch& day : days) {
        if (day.end == size())
            return day.date.startOfDay();
        std::size_t i = day.end;
        std::optional<TimeMatch> time;
        if (day.iso && word(i, u"t") && !m_tokens[i].spaced) {
            if (at(i + 1) && !m_tokens[i + 1].spaced)
                time = timeAt(i + 1, true);
            if (time && !time->clock)
                time.reset();
        } else if (separate(i)) {
            if (word(i, u"at")) {
                ++i;
                if (!separate(i))
                    continue;
            }
            time = timeAt(i, day.iso);
        }
        if (time && time->end == size())
            return combine(day.date, *time);
    }

    // A time, alone (today) or with a day after it.
    if (const auto time = timeAt(0, false)) {
        if (time->end == size())
            return combine(m_today, *time);
        if (separate(time->end)) {
            days.clear();
            daysAt(time->end, days);
            for (const DayMatch& day : days)
                if (day.end == size())
                    return combine(day.date, *time);
        }
    }
    return std::nullopt;
}

// Phrases that name an instant rather than a day: "now", "in 2 hours", "90 minutes ago". They take no
// time of day.
std::optional<QDateTime> Reader::moment() const
{
    if (size() == 1 && word(0, u"now"))
        return m_now;
    const auto relative = relativeAt(0);
    if (!relative || relative->end != size() || isCalendarUnit(relative->unit))
        return std::nullopt;
    const qint64 seconds = relative->unit == Unit::Hour ? 3600 : 60;
    return m_now.addSecs(relative->n * seconds);
}

std::optional<std::pair<qint64, std::size_t>> Reader::countAt(std::size_t i) const
{
    const Token* t = at(i);
    if (!t)
        return std::nullopt;
    if (word(i, u"a") || word(i, u"an"))
        return std::pair<qint64, std::size_t>(1, i + 1);
    if (t->kind == Token::Kind::Number && t->value >= 0 && t->value <= kMaxCount)
        return std::pair<qint64, std::size_t>(t->value, i + 1);
    return std::nullopt;
}

std::optional<Unit> Reader::unitAt(std::size_t i) const
{
    const Token* t = at(i);
    if (!t || t->kind != Token::Kind::Word)
        return std::nullopt;
    for (const UnitName& name : kUnits)
        if (t->word == QStringView(name.text))
            return name.unit;
    return std::nullopt;
}

// "in <count> <unit>", "<count> <unit> from now", "<count> <unit> ago".
std::optional<Relative> Reader::relativeAt(std::size_t i) const
{
    const bool in = word(i, u"in");
    if (in && !separate(i + 1))
        return std::nullopt;
    const auto count = countAt(in ? i + 1 : i);
    if (!count || !separate(count->second))
        return std::nullopt;
    const std::size_t unitToken = count->second;
    const auto unit = unitAt(unitToken);
    if (!unit)
        return std::nullopt;
    if (in)
        return Relative{*unit, count->first, unitToken + 1};
    if (separate(unitToken + 1) && word(unitToken + 1, u"from") && separate(unitToken + 2) && word(unitToken + 2, u"now"))
        return Relative{*unit, count->first, unitToken + 3};
    if (separate(unitToken + 1) && word(unitToken + 1, u"ago"))
        return Relative{*unit, -count->first, unitToken + 2};
    return std::nullopt;
}

// Every way the tokens from i on can begin with a day. Most texts give one match at most; a month-name
// date followed by a number gives two ("Jan 5 10:30": the 10 could be a year or an hour), and the
// caller keeps the one after which the rest of the text reads.
void Reader::daysAt(std::size_t i, std::vector<DayMatch>& out) const
{
    const Token* t = at(i);
    if (!t)
        return;
    const auto add = [&out](QDate date, std::size_t end) {
        if (usable(date))
            out.push_back({date, end, false});
    };

    if (t->kind == Token::Kind::Word) {
        if (t->word == u"today")
            add(m_today, i + 1);
        else if (t->word == u"tomorrow")
            add(m_today.addDays(1), i + 1);
        else if (t->word == u"yesterday")
            add(m_today.addDays(-1), i + 1);

        const int todayWeekday = m_today.dayOfWeek();
        if (const Name* weekday = findName(kWeekdays, t->word)) {
            const int ahead = (weekday->value - todayWeekday + 7) % 7;
            add(m_today.addDays(ahead == 0 ? 7 : ahead), i + 1);
        }
        const bool next = t->word == u"next";
        const bool last = t->word == u"last";
        const bool current = t->word == u"this";
        if ((next || last || current) && separate(i + 1)) {
            const Token* after = at(i + 1);
            const Name* weekday = after->kind == Token::Kind::Word ? findName(kWeekdays, after->word) : nullptr;
            const auto unit = unitAt(i + 1);
            // "next week", "last month"; not "this week" (which day of it?) nor "next weeks"
            const bool period = unit && !current && !after->word.endsWith(u's')
                && (*unit == Unit::Week || *unit == Unit::Month || *unit == Unit::Year);
            if (weekday) {
                const int ahead = (weekday->value - todayWeekday + 7) % 7;
                const int behind = (todayWeekday - weekday->value + 7) % 7;
                if (next)
                    add(m_today.addDays(ahead == 0 ? 7 : ahead), i + 2);
                else if (current)
                    add(m_today.addDays(ahead), i + 2);
                else
                    add(m_today.addDays(-(behind == 0 ? 7 : behind)), i + 2);
            } else if (period) {
                add(shifted(m_today, *unit, next ? 1 : -1), i + 2);
            }
        }
        monthFirstAt(i, out);
    }

    if (const auto relative = relativeAt(i); relative && isCalendarUnit(relative->unit))
        add(shifted(m_today, relative->unit, relative->n), relative->end);

    if (t->kind == Token::Kind::Number) {
        dayFirstAt(i, out);
        numericAt(i, out);
    }

    if (t->kind == Token::Kind::Symbol && t->symbol == u'+') {
        if (const Token* n = gluedNumber(i + 1, 1, kMaxDigits); n && n->value <= kMaxCount)
            add(m_today.addDays(n->value), i + 2);
    }
}

// A month name, with a full stop after an abbreviation allowed ("Jan."). Returns the token after it,
// or 0 when there is none at i.
std::size_t Reader::monthNameAt(std::size_t i, int& month) const
{
    const Token* t = at(i);
    if (!t || t->kind != Token::Kind::Word)
        return 0;
    const Name* name = findName(kMonths, t->word);
    if (!name)
        return 0;
    month = name->value;
    return name->abbreviated && gluedSymbol(i + 1, u'.') ? i + 2 : i + 1;
}

// A day of the month, 1 to 31, with an optional ordinal ending ("5th"). Returns the token after it,
// or 0.
std::size_t Reader::dayOfMonthAt(std::size_t i, int& day) const
{
    const Token* t = at(i);
    if (!t || t->kind != Token::Kind::Number || t->digits > 2 || t->value < 1 || t->value > 31)
        return 0;
    day = int(t->value);
    const Token* suffix = at(i + 1);
    if (suffix && !suffix->spaced && suffix->kind == Token::Kind::Word
        && (suffix->word == u"st" || suffix->word == u"nd" || suffix->word == u"rd" || suffix->word == u"th"))
        return i + 2;
    return i + 1;
}

// "Jan 5", "January 5th, 2027", "Jan. 5 27".
void Reader::monthFirstAt(std::size_t i, std::vector<DayMatch>& out) const
{
    int month = 0;
    int day = 0;
    const std::size_t afterMonth = monthNameAt(i, month);
    if (afterMonth == 0 || !separate(afterMonth))
        return;
    const std::size_t afterDay = dayOfMonthAt(afterMonth, day);
    if (afterDay != 0)
        yearsAfter(afterDay, month, day, out);
}

// "5 Jan", "5th of January, 2027", "5 Jan 27".
void Reader::dayFirstAt(std::size_t i, std::vector<DayMatch>& out) const
{
    int day = 0;
    int month = 0;
    std::size_t j = dayOfMonthAt(i, day);
    if (j == 0 || !separate(j))
        return;
    if (word(j, u"of")) {
        ++j;
        if (!separate(j))
            return;
    }
    const std::size_t afterMonth = monthNameAt(j, month);
    if (afterMonth != 0)
        yearsAfter(afterMonth, month, day, out);
}

// After a month and a day: the date without a year (ending at i) and, when a year follows, the date in
// that year. A year has four digits, or two for 2000-2099; a comma may stand before it.
void Reader::yearsAfter(std::size_t i, int month, int day, std::vector<DayMatch>& out) const
{
    const QDate next = nextOccurrence(month, day);
    if (usable(next))
        out.push_back({next, i, false});

    std::size_t j = i;
    if (gluedSymbol(j, u',') || (separate(j) && at(j)->kind == Token::Kind::Symbol && at(j)->symbol == u','))
        ++j;
    else if (!separate(j))
        return;
    const Token* year = at(j);
    if (!year || year->kind != Token::Kind::Number || (year->digits != 2 && year->digits != 4))
        return;
    const QDate date(year->digits == 2 ? 2000 + int(year->value) : int(year->value), month, day);
    if (usable(date))
        out.push_back({date, j + 1, false});
}

// A day and month without a year: the next time it comes round, today included. The search spans
// eight years so that 29 February finds a leap year even across a century year that is not one.
QDate Reader::nextOccurrence(int month, int day) const
{
    for (int year = m_today.year(); year <= m_today.year() + 8; ++year) {
        const QDate date(year, month, day);
        if (date.isValid() && date >= m_today)
            return date;
    }
    return {};
}

// Numbers joined by "-", "/" or ".", with no space: "2026-12-24" (ISO, whatever the locale), else the
// locale's short form ("12/24/26", "24.12.2026").
void Reader::numericAt(std::size_t i, std::vector<DayMatch>& out) const
{
    std::size_t end = i + 1;
    bool joined = false;
    while (const Token* t = at(end)) {
        if (t->spaced)
            break;
        if (t->kind == Token::Kind::Symbol && (t->symbol == u'-' || t->symbol == u'/' || t->symbol == u'.'))
            joined = true;
        else if (t->kind != Token::Kind::Number)
            break;
        ++end;
    }
    if (!joined)
        return;

    if (end == i + 5 && m_tokens[i].digits == 4 && gluedSymbol(i + 1, u'-') && gluedNumber(i + 2, 2, 2)
        && gluedSymbol(i + 3, u'-') && gluedNumber(i + 4, 2, 2)) {
        const QDate date(int(m_tokens[i].value), int(m_tokens[i + 2].value), int(m_tokens[i + 4].value));
        if (usable(date))
            out.push_back({date, end, true});
        return;
    }

    const qsizetype begin = m_tokens[i].begin;
    const QDate date = localeShortDate(m_text.sliced(begin, m_tokens[end - 1].end - begin), m_locale);
    if (usable(date))
        out.push_back({date, end, false});
}

// "10:30", "17:00:30", "10am", "10 am", "3:15 pm", "noon", "midnight"; with `allowOffset`, a UTC offset
// may follow a time without a space ("17:00Z", "17:00+01:00", "17:00-0500").
std::optional<TimeMatch> Reader::timeAt(std::size_t i, bool allowOffset) const
{
    const Token* t = at(i);
    if (!t)
        return std::nullopt;
    if (word(i, u"noon"))
        return TimeMatch{QTime(12, 0), i + 1, false, std::nullopt};
    if (word(i, u"midnight"))
        return TimeMatch{QTime(0, 0), i + 1, false, std::nullopt};
    if (t->kind != Token::Kind::Number || t->digits > 2)
        return std::nullopt;

    int hour = int(t->value);
    int minute = 0;
    int second = 0;
    bool colon = false;
    std::size_t j = i + 1;
    if (gluedSymbol(j, u':')) {
        const Token* m = gluedNumber(j + 1, 2, 2);
        if (!m)
            return std::nullopt;
        minute = int(m->value);
        colon = true;
        j += 2;
        if (gluedSymbol(j, u':')) {
            const Token* s = gluedNumber(j + 1, 2, 2);
            if (!s)
                return std::nullopt;
            second = int(s->value);
            j += 2;
        }
    }
    const bool am = word(j, u"am");
    const bool pm = word(j, u"pm");
    if (am || pm) {
        // 12 am is midnight, 12 pm noon; there is no 0 am or 13 pm.
        if (hour < 1 || hour > 12)
            return std::nullopt;
        hour = hour % 12 + (pm ? 12 : 0);
        ++j;
    } else if (!colon) {
        return std::nullopt; // a bare number is no time
    }
    // 24:00 is refused: it would be the start of the next day, which "tomorrow" says plainly.
    if (hour > 23 || minute > 59 || second > 59)
        return std::nullopt;

    TimeMatch match{QTime(hour, minute, second), j, colon && !am && !pm, std::nullopt};
    if (allowOffset && at(j) && !m_tokens[j].spaced) {
        std::size_t end = j;
        match.utcOffset = offsetAt(j, end);
        if (!match.utcOffset)
            return std::nullopt;
        match.end = end;
    }
    return match;
}

// "Z", "+01:00", "+0100", "+01", "-05:00".
std::optional<int> Reader::offsetAt(std::size_t i, std::size_t& end) const
{
    if (word(i, u"z")) {
        end = i + 1;
        return 0;
    }
    const bool plus = gluedSymbol(i, u'+');
    if (!plus && !gluedSymbol(i, u'-'))
        return std::nullopt;
    const Token* n = gluedNumber(i + 1, 2, 4);
    if (!n || n->digits == 3)
        return std::nullopt;
    int hours = int(n->value);
    int minutes = 0;
    end = i + 2;
    if (n->digits == 4) {
        hours = int(n->value / 100);
        minutes = int(n->value % 100);
    } else if (gluedSymbol(end, u':')) {
        const Token* m = gluedNumber(end + 1, 2, 2);
        if (!m)
            return std::nullopt;
        minutes = int(m->value);
        end += 2;
    }
    const int seconds = hours * 3600 + minutes * 60;
    if (minutes > 59 || seconds > 14 * 3600) // the widest offsets in use
        return std::nullopt;
    return plus ? seconds : -seconds;
}

QDateTime Reader::combine(QDate date, const TimeMatch& time) const
{
    if (time.utcOffset) {
        const QTimeZone zone = *time.utcOffset == 0 ? QTimeZone::utc() : QTimeZone(*time.utcOffset);
        return QDateTime(date, time.time, zone).toLocalTime();
    }
    // Midnight is the start of the day, as the model's "Today 00:00" is, also where the clocks skip it.
    if (time.time == QTime(0, 0))
        return date.startOfDay();
    return DateAnchors::localDateTime(date, time.time);
}

} // namespace

std::optional<QDateTime> dateWithNaturalLanguageString(const QString& text, const QDateTime& now, const QLocale& locale)
{
    if (text.size() > kMaxLength || !now.isValid())
        return std::nullopt;
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty() || allDigits(trimmed))
        return std::nullopt;

    std::optional<QDateTime> result;
    if (const auto tokens = tokenize(trimmed))
        result = Reader(*tokens, trimmed, now, locale).read();
    if (!result) {
        // Short forms written with spaces or letters of their own ("26. 12. 24." in Korean, which the
        // tokens above cannot follow), date alone.
        const QDate date = localeShortDate(trimmed, locale);
        if (usable(date))
            result = date.startOfDay();
    }
    if (!result || !result->isValid())
        return std::nullopt;
    return result;
}

