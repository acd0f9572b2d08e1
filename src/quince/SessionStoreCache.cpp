// SessionStoreCache: a short list per thread, the least recently used store
// closed first when it is full.
#include "quince/SessionStoreCache.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <system_error>
#include <vector>

#include "foundation/Files.h"
#include "quince/PostgresSessionStore.h"
#include "quince/SqliteSessionStore.h"

namespace {

// A process serves one site or a few; more stores than this at once are
// opened and closed again rather than kept.
constexpr std::size_t kMaxKeptStores = 4;

struct KeptStore {
    std::string Path;       // absolute, so that a change of folder does not confuse it
    FileIdentity Identity;  // of the file when it was opened (device and inode are compared)
    std::unique_ptr<SqliteSessionStore> Store;
    uint64_t LastUse = 0;
};

// A database server's store, by its URI: its connection is made again by the
// connection itself when the server restarts.
struct KeptServerStore {
    std::string Uri;
    std::unique_ptr<SessionStore> Store;
};

struct ThreadStores {
    std::vector<KeptStore> Kept;
    std::vector<KeptServerStore> Servers;
    uint64_t Uses = 0;
};

ThreadStores& Stores() {
    thread_local ThreadStores stores;
    return stores;
}

constexpr std::string_view kSqlitePrefix = "sqlite:";

SessionStore* UsePostgresStore(const std::string& uri, std::string& problem) {
#ifdef VEXL_HAVE_POSTGRESQL
    std::vector<KeptServerStore>& servers = Stores().Servers;
    for (const KeptServerStore& kept : servers) {
        if (kept.Uri == uri) return kept.Store.get();
    }
    auto store = std::make_unique<PostgresSessionStore>(NyxString(uri.c_str()));
    if (!store->IsOpen()) {
        problem = store->Problem();
        return nullptr;
    }
    if (servers.size() >= kMaxKeptStores) servers.erase(servers.begin());
    servers.push_back(KeptServerStore{uri, std::move(store)});
    return servers.back().Store.get();
#else
    (void)uri;
    problem = "this vexl was built without PostgreSQL (install libpq-dev and rebuild)";
    return nullptr;
#endif
}

}  // namespace

SessionStore* UseSessionStore(const NyxString& location, std::string& problem) {
    std::string path = location.ToStd();
    if (path.rfind("postgresql:", 0) == 0 || path.rfind("postgres:", 0) == 0) return UsePostgresStore(path, problem);
    if (path.rfind(kSqlitePrefix, 0) == 0) path.erase(0, kSqlitePrefix.size());
    if (path.empty()) {
        problem = "no session store was named";
        return nullptr;
    }
    std::error_code failed;
    const std::filesystem::path absolute = std::filesystem::absolute(path, failed);
    if (!failed) path = absolute.lexically_normal().string();

    ThreadStores& stores = Stores();
    ++stores.Uses;
    for (std::size_t i = 0; i < stores.Kept.size(); ++i) {
        KeptStore& kept = stores.Kept[i];
        if (kept.Path != path) continue;
        FileIdentity now;
        if (FileGetIdentity(NyxString(path.c_str()), now) && now.Device == kept.Identity.Device &&
            now.Inode == kept.Identity.Inode) {
            kept.LastUse = stores.Uses;
            return kept.Store.get();
        }
        // Replaced or removed since: this connection would write into the old file.
        kept.Store->AbandonReplacedFile();
        stores.Kept.erase(stores.Kept.begin() + static_cast<std::ptrdiff_t>(i));
        break;
    }

    auto store = std::make_unique<SqliteSessionStore>(NyxString(path.c_str()));
    FileIdentity identity;
    if (!store->IsOpen() || !FileGetIdentity(NyxString(path.c_str()), identity)) {
        problem = store->Problem().empty() ? "the session store cannot be opened" : store->Problem();
        return nullptr;
    }
    if (stores.Kept.size() >= kMaxKeptStores) {
        std::size_t oldest = 0;
        for (std::size_t i = 1; i < stores.Kept.size(); ++i) {
            if (stores.Kept[i].LastUse < stores.Kept[oldest].LastUse) oldest = i;
        }
        stores.Kept.erase(stores.Kept.begin() + static_cast<std::ptrdiff_t>(oldest));
    }
    stores.Kept.push_back(KeptStore{path, identity, std::move(store), stores.Uses});
    return stores.Kept.back().Store.get();
}

void CloseSessionStores() {
    Stores().Kept.clear();
    Stores().Servers.clear();
}
