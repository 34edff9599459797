#include "database/ChangeNotice.h"

#include <algorithm>
#include <cstdint>

#include "Progress.h"
#include "Work.h"
#include "database/AdapterGuards.h"

namespace {

/// Passes an operation on to the layer below, whatever its parameters are.
template <auto Operation>
struct HandOn;

template <typename Result, typename... Parameters,
          Result (*sqlite3_vfs::*Operation)(sqlite3_vfs*, Parameters...)>
struct HandOn<Operation> {
    static Result call(sqlite3_vfs* layer, Parameters... parameters) {
        sqlite3_vfs* const below = static_cast<const ChangeNotice*>(layer->pAppData)->below();
        return (below->*Operation)(below, parameters...);
    }
};

}  // namespace

ChangeNotice::ChangeNotice()
    : m_name("das-" + std::to_string(reinterpret_cast<std::uintptr_t>(this))),
      m_below(sqlite3_vfs_find(nullptr)) {
    if (m_below == nullptr) {
        // Without memory SQLite has no default layer; opening a database over this one then fails.
        return;
    }
    // Version 3 adds operations that SQLite does not use here.
    m_layer.iVersion = std::min(m_below->iVersion, 2);
    m_layer.szOsFile = m_below->szOsFile;
    m_layer.mxPathname = m_below->mxPathname;
    m_layer.zName = m_name.c_str();
    m_layer.pAppData = this;
    m_layer.xOpen = open;
    m_layer.xDelete = HandOn<&sqlite3_vfs::xDelete>::call;
    m_layer.xAccess = HandOn<&sqlite3_vfs::xAccess>::call;
    m_layer.xFullPathname = HandOn<&sqlite3_vfs::xFullPathname>::call;
    m_layer.xDlOpen = HandOn<&sqlite3_vfs::xDlOpen>::call;
    m_layer.xDlError = HandOn<&sqlite3_vfs::xDlError>::call;
    m_layer.xDlSym = HandOn<&sqlite3_vfs::xDlSym>::call;
    m_layer.xDlClose = HandOn<&sqlite3_vfs::xDlClose>::call;
    m_layer.xRandomness = HandOn<&sqlite3_vfs::xRandomness>::call;
    m_layer.xSleep = sleep;
    m_layer.xCurrentTime = HandOn<&sqlite3_vfs::xCurrentTime>::call;
    m_layer.xGetLastError = HandOn<&sqlite3_vfs::xGetLastError>::call;
    m_layer.xCurrentTimeInt64 = HandOn<&sqlite3_vfs::xCurrentTimeInt64>::call;
    // If this fails, opening a database over the layer fails.
    (void)sqlite3_vfs_register(&m_layer, 0);
}

ChangeNotice::~ChangeNotice() {
    (void)sqlite3_vfs_unregister(&m_layer);
}

/// SQLite sleeps between its attempts to get a lock that another process holds, and adds up the
/// requested times itself. So if this does not sleep, the attempts end at once. A wait counts as
/// progress: the service does not hang.
int ChangeNotice::sleep(sqlite3_vfs* layer, int microseconds) {
    Progress::beat();
    if (Work::isInterrupted() || !OneWait::takes(microseconds)) {
        return microseconds;
    }
    sqlite3_vfs* const below = static_cast<const ChangeNotice*>(layer->pAppData)->m_below;
    return below->xSleep(below, microseconds);
}

int ChangeNotice::open(sqlite3_vfs* layer, const char* path, sqlite3_file* file, int flags,
                       int* flagsOut) {
    const auto* notice = static_cast<const ChangeNotice*>(layer->pAppData);
    constexpr int newJournal = SQLITE_OPEN_MAIN_JOURNAL | SQLITE_OPEN_CREATE;
    if ((flags & newJournal) == newJournal && notice->callBefore) {
        try {
            notice->callBefore();
        } catch (...) {
            // Nothing may be thrown through SQLite; the callee logs its failures itself.
        }
    }
    return notice->m_below->xOpen(notice->m_below, path, file, flags, flagsOut);
}
