#include "MemoryDisk.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

namespace {

using Node = MemoryDisk::Node;
using NodePtr = MemoryDisk::NodePtr;

struct File {
    sqlite3_file base;
    NodePtr* node;
};

NodePtr& NodeOf(sqlite3_file* file) {
    return *reinterpret_cast<File*>(file)->node;
}

MemoryDisk& Disk() {
    return MemoryDisk::Instance();
}

/// SQLITE_OK, or what the disk makes of the operation; own is the code of the operation itself.
int Try(int own) {
    int error = 0;
    if (!Disk().Strikes(error)) {
        return SQLITE_OK;
    }
    return error == SQLITE_FULL && own == SQLITE_IOERR_WRITE ? SQLITE_FULL : own;
}

int Close(sqlite3_file* file) {
    delete reinterpret_cast<File*>(file)->node;
    return SQLITE_OK;
}

int Read(sqlite3_file* file, void* buffer, int count, sqlite3_int64 offset) {
    if (const int error = Try(SQLITE_IOERR_READ)) {
        return error;
    }
    const std::string& content = NodeOf(file)->content;
    const auto size = static_cast<std::size_t>(count);
    const auto from = std::min(static_cast<std::size_t>(offset), content.size());
    const std::size_t there = std::min(size, content.size() - from);
    std::memset(buffer, 0, size);
    std::memcpy(buffer, content.data() + from, there);
    return there == size ? SQLITE_OK : SQLITE_IOERR_SHORT_READ;
}

int Write(sqlite3_file* file, const void* buffer, int count, sqlite3_int64 offset) {
    std::string data(static_cast<const char*>(buffer), static_cast<std::size_t>(count));
    const int error = Try(SQLITE_IOERR_WRITE);
    if (error != SQLITE_OK) {
        data.resize(data.size() / 2);  // a failed write may have begun
    }
    Disk().Write(NodeOf(file), data, static_cast<std::size_t>(offset));
    return error;
}

int Truncate(sqlite3_file* file, sqlite3_int64 size) {
    if (const int error = Try(SQLITE_IOERR_TRUNCATE)) {
        return error;
    }
    Disk().Truncate(NodeOf(file), static_cast<std::size_t>(size));
    return SQLITE_OK;
}

int Sync(sqlite3_file* file, int) {
    if (const int error = Try(SQLITE_IOERR_FSYNC)) {
        return error;
    }
    Disk().Sync(NodeOf(file));
    return SQLITE_OK;
}

int FileSize(sqlite3_file* file, sqlite3_int64* size) {
    if (const int error = Try(SQLITE_IOERR_FSTAT)) {
        return error;
    }
    *size = static_cast<sqlite3_int64>(NodeOf(file)->content.size());
    return SQLITE_OK;
}

int Lock(sqlite3_file*, int) {
    return Try(SQLITE_IOERR_LOCK);
}

int Unlock(sqlite3_file*, int) {
    return SQLITE_OK;
}

int IsReserved(sqlite3_file*, int* reserved) {
    *reserved = 0;
    return Try(SQLITE_IOERR_CHECKRESERVEDLOCK);
}

int Control(sqlite3_file*, int, void*) {
    return SQLITE_NOTFOUND;
}

int SectorSize(sqlite3_file*) {
    return 512;
}

int Characteristics(sqlite3_file*) {
    return SQLITE_IOCAP_POWERSAFE_OVERWRITE;  // as the machine's own
}

const sqlite3_io_methods kMethods = {
    1,       Close,      Read,    Write,      Truncate,        Sync,    FileSize, Lock,
    Unlock,  IsReserved, Control, SectorSize, Characteristics, nullptr, nullptr,  nullptr,
    nullptr, nullptr,    nullptr};

int Open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* given) {
    auto* opened = reinterpret_cast<File*>(file);
    opened->base.pMethods = nullptr;
    if (const int error = Try(SQLITE_CANTOPEN)) {
        return error;
    }
    MemoryDisk::Names& names = Disk().Entries();
    const std::string entry = name == nullptr ? "temporary" : name;
    const auto found = names.find(entry);
    if (found == names.end() && (flags & SQLITE_OPEN_CREATE) == 0) {
        return SQLITE_CANTOPEN;
    }
    opened->node = new NodePtr(found == names.end() ? Disk().Create(entry) : found->second);
    opened->base.pMethods = &kMethods;
    if (given != nullptr) {
        *given = flags;
    }
    return SQLITE_OK;
}

int Delete(sqlite3_vfs*, const char* name, int syncFolder) {
    if (const int error = Try(SQLITE_IOERR_DELETE)) {
        return error;
    }
    if (!Disk().Has(name)) {
        return SQLITE_IOERR_DELETE_NOENT;
    }
    Disk().Remove(name, syncFolder != 0);
    return SQLITE_OK;
}

int Access(sqlite3_vfs*, const char* name, int, int* there) {
    *there = Disk().Has(name) ? 1 : 0;
    return Try(SQLITE_IOERR_ACCESS);
}

int FullPath(sqlite3_vfs*, const char* name, int size, char* out) {
    sqlite3_snprintf(size, out, "%s", name);
    return SQLITE_OK;
}

/// Applies a write or a truncation.
void Put(std::string& content, const std::string& data, std::size_t offset) {
    if (content.size() < offset + data.size()) {
        content.resize(offset + data.size(), '\0');
    }
    content.replace(offset, data.size(), data);
}

}  // namespace

MemoryDisk& MemoryDisk::Instance() {
    static auto* disk = new MemoryDisk;
    return *disk;
}

MemoryDisk::MemoryDisk() {
    static sqlite3_vfs vfs = *sqlite3_vfs_find(nullptr);
    vfs.pNext = nullptr;
    vfs.zName = "memory-disk";
    vfs.szOsFile = sizeof(File);
    vfs.iVersion = 1;
    vfs.xOpen = Open;
    vfs.xDelete = Delete;
    vfs.xAccess = Access;
    vfs.xFullPathname = FullPath;
    if (sqlite3_vfs_register(&vfs, 1) != SQLITE_OK) {
        throw std::runtime_error("SQLite refuses the disk");
    }
}

void MemoryDisk::Arm(const Fault& fault) {
    m_fault = fault;
    m_operations = 0;
    m_struck = false;
    m_armed = true;
}

void MemoryDisk::Disarm() {
    m_armed = false;
}

bool MemoryDisk::Strikes(int& error) {
    if (!m_armed) {
        return false;
    }
    ++m_operations;
    if (m_fault.at == 0 || m_operations < m_fault.at || (m_operations > m_fault.at && !m_fault.everAfter)) {
        return false;
    }
    m_struck = true;
    error = m_fault.error;
    return true;
}

void MemoryDisk::Format() {
    m_names.clear();
    m_events.clear();
    m_recording = false;
}

void MemoryDisk::Note(Event event) {
    if (m_recording) {
        m_events.push_back(std::move(event));
    }
}

MemoryDisk::NodePtr MemoryDisk::Create(const std::string& name) {
    auto node = std::make_shared<Node>();
    m_names[name] = node;
    Note({Kind::kCreate, node, name, "", 0, false});
    return node;
}

void MemoryDisk::Remove(const std::string& name, bool syncFolder) {
    m_names.erase(name);
    Note({Kind::kRemove, nullptr, name, "", 0, syncFolder});
}

void MemoryDisk::Write(const NodePtr& node, const std::string& data, std::size_t offset) {
    Put(node->content, data, offset);
    Note({Kind::kWrite, node, "", data, offset, false});
}

void MemoryDisk::Truncate(const NodePtr& node, std::size_t size) {
    node->content.resize(size, '\0');
    Note({Kind::kTruncate, node, "", "", size, false});
}

/// The first sync of a new file syncs the folder too, as on the machine.
void MemoryDisk::Sync(const NodePtr& node) {
    Note({Kind::kSync, node, "", "", 0, !node->inFolder});
    node->inFolder = true;
}

void MemoryDisk::StartRecording() {
    m_events.clear();
    m_copies.clear();
    m_before.clear();
    for (const auto& [name, node] : m_names) {
        node->inFolder = true;
        m_copies[node.get()] = std::make_shared<Node>(*node);
        m_before[name] = node;
    }
    m_recording = true;
}

struct MemoryDisk::Remains {
    std::map<const Node*, std::string> arrived;
    std::map<const Node*, std::vector<const Event*>> pending;
    Names folder;
    std::vector<const Event*> pendingEntries;

    static void ApplyTo(std::string& content, const Event& event, std::size_t length) {
        if (event.kind == Kind::kTruncate) {
            content.resize(event.offset, '\0');
        } else {
            Put(content, event.data.substr(0, length), event.offset);
        }
    }

    void ApplyEntries(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            const Event& event = *pendingEntries[i];
            if (event.kind == Kind::kCreate) {
                folder[event.name] = event.node;
            } else {
                folder.erase(event.name);
            }
        }
        pendingEntries.clear();
    }

    void Take(const Event& event) {
        switch (event.kind) {
            case Kind::kWrite:
            case Kind::kTruncate:
                pending[event.node.get()].push_back(&event);
                break;
            case Kind::kSync:
                for (const Event* write : pending[event.node.get()]) {
                    ApplyTo(arrived[event.node.get()], *write, write->data.size());
                }
                pending[event.node.get()].clear();
                break;
            case Kind::kCreate:
            case Kind::kRemove:
                pendingEntries.push_back(&event);
                break;
        }
        if (event.syncFolder) {
            ApplyEntries(pendingEntries.size());
        }
    }

    /// What of the pending writes arrives.
    void Settle(Arrived how, std::mt19937& random) {
        for (auto& [node, writes] : pending) {
            for (const Event* write : writes) {
                const bool arrives =
                    how == Arrived::kEverything || (how == Arrived::kSomething && random() % 2 == 0);
                if (!arrives) {
                    continue;
                }
                const bool torn = how == Arrived::kSomething && !write->data.empty() && random() % 3 == 0;
                ApplyTo(arrived[node], *write, torn ? random() % write->data.size() : write->data.size());
            }
        }
    }
};

void MemoryDisk::CutPower(std::size_t moment, Arrived arrived, std::mt19937& random) {
    m_recording = false;
    Remains remains;
    remains.folder = m_before;
    for (const auto& [node, copy] : m_copies) {
        remains.arrived[node] = copy->content;
    }
    for (std::size_t i = 0; i < moment; ++i) {
        remains.Take(m_events[i]);
    }
    remains.Settle(arrived, random);
    const std::size_t entries = remains.pendingEntries.size();
    const std::size_t arriving = arrived == Arrived::kEverything ? entries
                                 : arrived == Arrived::kNothing  ? 0
                                                                 : random() % (entries + 1);
    remains.ApplyEntries(arriving);
    m_names.clear();
    for (const auto& [name, node] : remains.folder) {
        m_names[name] = std::make_shared<Node>(Node{remains.arrived[node.get()], true});
    }
}
