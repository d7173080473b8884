// A disk in memory on which SQLite works in place of the machine's. Every operation can be made to fail, and
// the disk can show its contents as a power cut at any moment would leave them. Between two syncs a disk
// writes in any order: some writes arrive, some do not, some only in part. Entries of the folder arrive in
// their order, each some time after the other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

/// One disk for the process, the default of every connection once it was used.
class MemoryDisk {
public:
    static MemoryDisk& Instance();

    struct Fault {
        std::size_t at = 0;  ///< which operation fails, from 1; 0: none
        bool everAfter = false;
        int error = 0;  ///< SQLite's code for it; a read or write fails with a code of its own
    };

    /// Counts operations from now on, and lets them fail.
    void Arm(const Fault& fault);
    void Disarm();
    std::size_t Operations() const { return m_operations; }
    bool Struck() const { return m_struck; }

    /// Empties the disk.
    void Format();

    /// From here on everything is kept that a cut of power needs; all that was written so far has arrived.
    void StartRecording();
    /// How much has been recorded.
    std::size_t Moments() const { return m_events.size(); }

    enum class Arrived { kNothing, kEverything, kSomething };

    /// Ends the recording; the disk is then as a cut after so many moments leaves it. May be repeated with
    /// other moments.
    void CutPower(std::size_t moment, Arrived arrived, std::mt19937& random);

    /// Whether the folder has the name.
    bool Has(const std::string& name) const { return m_names.count(name) != 0; }

    // --- What the file operations of SQLite need ---
    struct Node {
        std::string content;
        bool inFolder = false;  ///< its entry was synced
    };
    using NodePtr = std::shared_ptr<Node>;
    using Names = std::map<std::string, NodePtr>;

    /// Whether this operation fails.
    bool Strikes(int& error);
    Names& Entries() { return m_names; }
    NodePtr Create(const std::string& name);
    void Remove(const std::string& name, bool syncFolder);
    void Write(const NodePtr& node, const std::string& data, std::size_t offset);
    void Truncate(const NodePtr& node, std::size_t size);
    void Sync(const NodePtr& node);

private:
    enum class Kind { kWrite, kTruncate, kSync, kCreate, kRemove };
    struct Event {
        Kind kind;
        NodePtr node;
        std::string name;
        std::string data;
        std::size_t offset = 0;  ///< or the new size
        bool syncFolder = false;
    };
    /// What a cut leaves, while it is worked out.
    struct Remains;

    MemoryDisk();
    void Note(Event event);

    Names m_names;
    std::vector<Event> m_events;
    Names m_before;  ///< copies, when the recording began
    std::map<Node*, NodePtr> m_copies;
    bool m_recording = false;
    Fault m_fault;
    bool m_armed = false;
    bool m_struck = false;
    std::size_t m_operations = 0;
};
