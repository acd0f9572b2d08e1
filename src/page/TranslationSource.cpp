// TranslationSource: the answers of a translation table kept in memory, and
// the thread's kept sources. A kept answer is only ever one that the database
// would give now: the answers are dropped whenever another connection has
// committed a change since they were read.
#include "page/TranslationSource.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "foundation/Paths.h"
#include "foundation/Sql.h"

namespace {

// Sources kept open on one thread: a site uses one or two translation
// databases; more are closed, least recently used first.
constexpr std::size_t kMaxKeptSources = 4;
// Memory for one source's answers: far above a site's texts (a thousand texts
// of a hundred bytes take a few hundred KiB); past it the answers are dropped
// and gathered again, so that a page of ever new texts cannot grow it.
constexpr std::size_t kMaxAnswerBytes = 8u << 20;
// A database that took this long to refuse a connection (a server that does
// not answer) is not tried again for kRetryPause, so that a page of many texts
// waits for it once, not once per text.
constexpr std::chrono::seconds kSlowRefusal(1);
constexpr std::chrono::seconds kRetryPause(10);
// What a kept answer costs beside its two texts: the map's node and bucket.
constexpr std::size_t kAnswerOverhead = 96;

// A failed answer keeps its text twice: in the map and in its table's list.
constexpr std::size_t FailedCost(std::size_t textSize) { return 2 * textSize + kAnswerOverhead; }

// A table or column name is one identifier, never SQL text: in double quotes,
// its own double quotes doubled. The connection does not take an unknown
// quoted name for a string literal, so a misspelt column finds nothing.
NyxString QuoteIdentifier(const NyxString& name) {
    NyxString quoted(name);
    quoted.ReplaceAll("\"", "\"\"");
    NyxString result("\"");
    result += quoted;
    result += "\"";
    return result;
}

}  // namespace

struct TranslationSourcePool {
    struct Refusal {
        NyxString Place;
        std::chrono::steady_clock::time_point Until;
    };
    std::vector<std::unique_ptr<TranslationSource>> Sources;
    std::vector<Refusal> Refusals;  // places not to try again yet; at most one per kept source
    uint64_t Clock = 0;
};

namespace {

TranslationSourcePool& ThreadPool() {
    static thread_local TranslationSourcePool pool;
    return pool;
}

}  // namespace

std::atomic<uint64_t> TranslationSource::CurrentGeneration{1};

TranslationSource* TranslationSource::Acquire(const NyxString& given) {
    TranslationSourcePool& pool = ThreadPool();
    BumpGeneration();
    // A front end that changes into each page's folder makes the same
    // relative name mean another file: a file is known by its full path.
    const NyxString path = GenSqlConnection::TypeOfPlace(given) == GenSqlConnection::Sqlite && given.IsNotEmpty()
                               ? CompletePath(given)
                               : given;
    auto& sources = pool.Sources;
    auto found = std::find_if(sources.begin(), sources.end(),
                              [&](const auto& source) { return source->Path.IsEqualTo(path, true); });
    if (found != sources.end()) {
        TranslationSource* source = found->get();
        if (source->Users == 0 && !source->Check()) {
            sources.erase(found);
            return nullptr;
        }
        ++source->Users;
        source->LastUse = ++pool.Clock;
        return source;
    }

    const auto now = std::chrono::steady_clock::now();
    auto& refusals = pool.Refusals;
    refusals.erase(std::remove_if(refusals.begin(), refusals.end(), [&](const auto& refusal) { return refusal.Until <= now; }),
                   refusals.end());
    for (const auto& refusal : refusals) {
        if (refusal.Place.IsEqualTo(path, true)) return nullptr;
    }
    std::unique_ptr<TranslationSource> source(new TranslationSource(path));
    if (!source->Connect()) {
        const auto after = std::chrono::steady_clock::now();
        if (after - now >= kSlowRefusal && refusals.size() < kMaxKeptSources) refusals.push_back({path, after + kRetryPause});
        return nullptr;
    }
    if (sources.size() >= kMaxKeptSources) {
        auto idle = sources.end();
        for (auto at = sources.begin(); at != sources.end(); ++at) {
            if ((*at)->Users == 0 && (idle == sources.end() || (*at)->LastUse < (*idle)->LastUse)) idle = at;
        }
        if (idle != sources.end()) sources.erase(idle);
    }
    source->Users = 1;
    source->LastUse = ++pool.Clock;
    sources.push_back(std::move(source));
    return sources.back().get();
}

void TranslationSource::Release(TranslationSource* source) {
    if (source == nullptr) return;
    if (source->Users > 0) --source->Users;
    BumpGeneration();
}

TranslationSource::TranslationSource(const NyxString& path) : Path(path) {}

TranslationSource::~TranslationSource() { Tables.clear(); }

TranslationSource::Table::~Table() = default;

bool TranslationSource::Connect() {
    Tables.clear();
    DropAnswers();
    Connection.reset(GenSqlConnection::Create(GenSqlConnection::TypeOfPlace(Path)));
    if (Connection == nullptr || Connection->Connect(Path) == 0) {
        Connection.reset();
        return false;
    }
    HasChangeStamp = Connection->ReadChangeStamp(ChangeStamp);
    return true;
}

bool TranslationSource::Check() {
    if (Connection == nullptr || !Connection->IsCurrent()) return Connect();
    uint64_t stamp = 0;
    const bool read = Connection->ReadChangeStamp(stamp);
    if (!read || !HasChangeStamp || stamp != ChangeStamp) {
        DropAnswers();
    } else {
        // A failed insert may succeed now (a lock let go, a file made writable).
        DropFailedAnswers();
    }
    ChangeStamp = stamp;
    HasChangeStamp = read;
    return true;
}

void TranslationSource::DropAnswers() {
    for (auto& table : Tables) {
        table->Answers.clear();
        table->Failed.clear();
    }
    AnswerBytes = 0;
    BumpGeneration();
}

void TranslationSource::DropFailedAnswers() {
    for (auto& table : Tables) {
        for (const std::string& text : table->Failed) {
            if (table->Answers.erase(text) != 0) AnswerBytes -= std::min(AnswerBytes, FailedCost(text.size()));
        }
        table->Failed.clear();
    }
}

TranslationSource::Table& TranslationSource::FindTable(const NyxString& name, const NyxString& keyColumn,
                                                       const NyxString& valueColumn) {
    auto matches = [&](const Table& table) {
        return table.Name.IsEqualTo(name, true) && table.KeyColumn.IsEqualTo(keyColumn, true) &&
               table.ValueColumn.IsEqualTo(valueColumn, true);
    };
    if (LastTable < Tables.size() && matches(*Tables[LastTable])) return *Tables[LastTable];
    for (std::size_t i = 0; i < Tables.size(); ++i) {
        if (!matches(*Tables[i])) continue;
        LastTable = i;
        return *Tables[i];
    }
    auto table = std::make_unique<Table>();
    table->Name = name;
    table->KeyColumn = keyColumn;
    table->ValueColumn = valueColumn;
    Tables.push_back(std::move(table));
    LastTable = Tables.size() - 1;
    return *Tables.back();
}

bool TranslationSource::Translate(const NyxString& tableName, const NyxString& keyColumn,
                                  const NyxString& valueColumn, NyxString& text) {
    // Such a text never reached the database as one literal; it still does not.
    if (std::memchr(text.GetString(), '\0', text.GetSize()) != nullptr) return false;
    Table& table = FindTable(tableName, keyColumn, valueColumn);
    auto apply = [&text](const std::string& value) {
        // An empty value, or one that begins with a line break, is not a translation.
        if (!value.empty() && value[0] != '\n' && value[0] != '\r') text = NyxString(std::string_view(value));
        return true;
    };

    auto kept = table.Answers.find(text.View());
    if (kept != table.Answers.end()) return kept->second.Known ? apply(kept->second.Value) : false;

    std::string value;
    if (Select(table, text, value)) {
        Keep(table, text, value, true);
        return apply(value);
    }
    if (Insert(table, text)) {
        Keep(table, text, std::string(), true);
        return false;
    }
    // Another connection may have added the text between the two statements.
    const bool known = Select(table, text, value);
    Keep(table, text, std::move(value), known);
    return false;
}

bool TranslationSource::Select(Table& table, const NyxString& text, std::string& value) {
    if (table.Select == nullptr) {
        NyxString statement;
        const NyxString name = QuoteIdentifier(table.Name);
        const NyxString key = QuoteIdentifier(table.KeyColumn);
        const NyxString valueColumn = QuoteIdentifier(table.ValueColumn);
        statement.Printf("SELECT %S FROM %S WHERE %S = $1", &valueColumn, &name, &key);
        table.Select.reset(Connection->Prepare(statement));
        if (table.Select == nullptr) return false;
    }
    const NyxString* parameters[] = {&text};
    std::unique_ptr<GenSqlResult> result(table.Select->Run(parameters, 1));
    if (result == nullptr || result->NextRow() == 0) return false;
    value = result->GetColumnText(0).ToStd();
    return true;
}

bool TranslationSource::Insert(Table& table, const NyxString& text) {
    if (Connection->GetDatabaseType() != GenSqlConnection::Sqlite) return InsertOnServer(table, text);
    // One statement reads and writes under SQLite's write lock: processes
    // adding the same text at once give one row, the others no change.
    if (!PrepareInsert(table)) return false;
    const NyxString* parameters[] = {&text};
    std::unique_ptr<GenSqlResult> result(table.Insert->Run(parameters, 1));
    return result != nullptr;
}

bool TranslationSource::PrepareInsert(Table& table) {
    if (table.Insert != nullptr) return true;
    NyxString statement;
    const NyxString name = QuoteIdentifier(table.Name);
    const NyxString key = QuoteIdentifier(table.KeyColumn);
    const NyxString valueColumn = QuoteIdentifier(table.ValueColumn);
    statement.Printf("INSERT INTO %S (%S, %S) SELECT $1, '' WHERE NOT EXISTS (SELECT 1 FROM %S WHERE %S = $1)",
                     &name, &key, &valueColumn, &name, &key);
    table.Insert.reset(Connection->Prepare(statement));
    return table.Insert != nullptr;
}

void TranslationSource::Keep(Table& table, const NyxString& text, std::string value, bool known) {
    if (!known) value.clear();
    const std::size_t cost = known ? text.GetSize() + value.size() + kAnswerOverhead : FailedCost(text.GetSize());
    if (AnswerBytes + cost > kMaxAnswerBytes) DropAnswers();
    auto [kept, added] = table.Answers.emplace(text.ToStd(), Answer{std::move(value), known});
    AnswerBytes += cost;
    if (added && !known) table.Failed.push_back(kept->first);
}

bool TranslationSource::InsertOnServer(Table& table, const NyxString& text) {
    if (table.Lock == nullptr) {
        table.Lock.reset(Connection->Prepare("SELECT pg_advisory_xact_lock(hashtext($1), hashtext($2))"));
        if (table.Lock == nullptr) return false;
    }
    if (!PrepareInsert(table)) return false;
    auto run = [](GenSqlStatement& statement, const NyxString* const* parameters, unsigned count) {
        std::unique_ptr<GenSqlResult> result(statement.Run(parameters, count));
        return result != nullptr;
    };
    auto execute = [this](const char* text) {
        std::unique_ptr<GenSqlResult> result(Connection->ExecuteSql(text, 0));
        return result != nullptr;
    };
    // Each statement sees what committed before it began: once the lock is
    // held, a row another machine added is seen, and not added again.
    const NyxString* lockParameters[] = {&table.Name, &text};
    const NyxString* insertParameters[] = {&text};
    if (execute("BEGIN") && run(*table.Lock, lockParameters, 2) && run(*table.Insert, insertParameters, 1) &&
        execute("COMMIT")) {
        return true;
    }
    execute("ROLLBACK");
    return false;
}
