/// Service modules and the routing of messages to them.
///
/// A client derives its modules from `ServiceModule`, creates them with `new` and registers them before the
/// system is started. From then on any task sends messages by content: the manager offers each to the modules
/// in registration order, and the first whose `Match` claims it receives it.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_MODULE_MGR_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_MODULE_MGR_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "onu_mng_lib/onu_mng_common/iterator.h"
#include "onu_mng_lib/onu_mng_common/msg_queue.h"
#include "onu_mng_lib/onu_mng_common/runable.h"
#include "onu_mng_lib/onu_mng_common/sem_lock.h"
#include "onu_mng_lib/onu_mng_common/sender_gate.h"

/// How a claimed message is delivered. Every other value counts as `MSG_PROC_SYNC`.
enum MsgSyncProcType : unsigned int {
    MSG_PROC_SYNC = 0,  ///< the handler runs at once in the sender's task on the sender's buffer
    MSG_PROC_ASYNC = 1, ///< the payload is copied and queued to the module's task
};

/// The header of one asynchronous message: 12 bytes at the start of a block of the library's pool, the
/// payload of `pkg_size` bytes directly behind. Queues carry the address of the block; whoever has it owns
/// the block.
struct MessagePacket {
    std::uint32_t msg_type;
    std::uint16_t pon_no;
    std::uint16_t onu_id;
    std::uint32_t pkg_size;

    char* Payload() { return reinterpret_cast<char*>(this + 1); }
};
static_assert(sizeof(MessagePacket) == 12, "the payload follows at offset 12");

/// The base of every module.
class Module {
public:
    explicit Module(unsigned int type = 0, unsigned int priority = 0) : Module(type, 0, priority) {}
    Module(unsigned int type, unsigned int id, unsigned int priority)
        : mod_type(type), mod_id(id), mod_pri(priority) {}
    virtual ~Module() = default;
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    /// The base versions do nothing and return 0.
    virtual unsigned int InitModule() { return 0; }
    virtual unsigned int StartModule() { return 0; }
    virtual unsigned int SendMsg(char*, unsigned int) { return 0; }
    virtual unsigned int HandleMsg(char*, unsigned int) { return 0; }

    unsigned int mod_type; ///< the key of `ModuleManager::GetModule` and `RemoveModule`
    unsigned int mod_id;   ///< given out at registration: 1, 2, 3, ...; 0 before
    unsigned int mod_pri;  ///< the priority of the module's task
    std::atomic<bool> is_init{false};
    std::atomic<bool> is_start{false};

protected:
    ReadWriteLock lock; ///< serialises `InitModule` and `StartModule`
};

/// A module with a task and a message queue.
///
/// A client overrides `Match` to claim its messages and the five-argument `HandleMsg` to process them. With
/// asynchronous delivery the handler runs only in the module's task, one message at a time; with synchronous
/// delivery it runs in the senders' tasks, perhaps in several at once, and the module guards its own state.
class ServiceModule : public Module, public Thread, public AggregateObject {
public:
    /// `name` (copied) names the module and its task; `mod_pri` is the task's priority (0 highest to 255),
    /// `msg_pri` a number of the client's that reports show, `msg_num` the capacity of the queue in messages,
    /// `stack_size` the task's stack in bytes.
    ServiceModule(unsigned int mod_type, const char* name, unsigned int mod_pri, unsigned int msg_pri,
                  unsigned int msg_num, unsigned int stack_size);
    /// Ends the task and returns the packets still queued to the pool. A derived class is gone by then: one
    /// that is not owned by the manager, which ends tasks first, calls `EndTask` in its own destructor.
    ~ServiceModule() override;

    /// Creates the queue. A second call changes nothing and returns 0.
    /// @return 0, after one level-12 line; 0x800001f5 when the platform has no queue or memory is short,
    ///         after one level-13 line.
    unsigned int InitModule() override;

    /// Spawns the task. A second call changes nothing and returns 0.
    /// @return 0, after one level-12 line; 0x800001f5 when the platform cannot start it, after one level-13
    ///         line.
    unsigned int StartModule() override;

    /// Delivers one message to this module. The buffer stays the caller's and is not kept.
    ///
    /// Asynchronous: copies the payload into a packet and queues that without waiting. Synchronous: runs the
    /// handler on the caller's buffer, for as long as it takes.
    /// @return the handler's result (synchronous); 0 when the message was queued; 0x800001f5 for null `data`
    ///         or a `pkg_size` of 0 and when the pool is exhausted (one level-13 line each), and when the
    ///         queue is full (level-11 lines).
    unsigned int SendMsg(unsigned int msg_type, MsgSyncProcType sync_type, unsigned short pon_no,
                         unsigned short onu_id, char* data, unsigned int pkg_size);

    /// Puts `len` bytes, the address of a packet, into the queue without waiting.
    /// @return 0; 0x800001f5 for a null `buf` or a `len` of 0, and when the queue is full.
    unsigned int SendMsg(char* buf, unsigned int len) override;

    /// Unpacks the packet at `buf` and hands it to the five-argument `HandleMsg`. `len` is not examined.
    /// @return the handler's result; 0x800001f5 for null, after one level-13 line.
    unsigned int HandleMsg(char* buf, unsigned int len) override;

    /// The body of the module's task: receives, handles, returns the packet to the pool. Does not return.
    void Run() override;

    /// Processes one message; `data` is valid only during the call. The base version returns 0.
    /// @return 0, or a failure code: logged for a queued message, handed to the sender of a synchronous one.
    virtual unsigned int HandleMsg(unsigned int msg_type, unsigned short pon_no, unsigned short onu_id,
                                   char* data, unsigned int pkg_size);

    /// Whether this module claims a message; called in the sender's task, so quick and safe for any task.
    ///
    /// A module that claims sets `sync_type`; left alone, it is `MSG_PROC_SYNC` or what an earlier module's
    /// `Match` wrote. The base version returns false.
    virtual bool Match(unsigned int msg_type, unsigned int src_mod, unsigned short pon_no,
                       unsigned short onu_id, char* data, unsigned int pkg_size, MsgSyncProcType& sync_type);

    MessageQueue msg_queue;
    std::string mod_name;
    unsigned int msg_pri;
    unsigned int msg_num;
    unsigned int msg_size; ///< of one queue message: the size of a packet's address
    unsigned int stack_size;

private:
    friend class ModuleManager;

    MessagePacket* ReceivePacket(unsigned int& failures);
    void DrainQueue();

    ServiceModule* next_removed = nullptr; ///< in the manager's list of removed modules
};

/// The registered modules, which it owns, and the way of every message.
///
/// One instance for the process. Modules may be registered and removed at any time, also while other tasks send
/// messages or list the modules; those take no lock. The lock is not re-entrant: `InitModule` and `StartModule`
/// overrides do not call `InitModules`, `StartModules`, `RegisterModule` or `RemoveModule`.
///
/// When the process exits, routing is closed, the tasks end and the modules are deleted (process_end.h).
class ModuleManager : public Aggregate {
public:
    static ModuleManager* GetInstance();

    /// Appends a module created with `new`, gives it the next id and takes ownership.
    /// @return 0; 0x800001f5, after one level-13 line, for null, for a module registered already and when
    ///         memory is short: the caller then still owns the module.
    unsigned int RegisterModule(ServiceModule* module);

    /// Takes all modules of the type out, ends their tasks and deletes them with the packets queued to them.
    ///
    /// Messages no longer reach the modules from the moment of the call. Blocks until the tasks that route a
    /// message at that moment have done so, synchronous handlers included, and until the modules' handlers have
    /// returned or wait. Called by a synchronous handler or a `Match`, it does not block: the modules are deleted
    /// when the caller's outermost message has been routed. A module whose own task calls is left alone (one
    /// level-13 line).
    /// @return 0, also when there was none.
    unsigned int RemoveModule(unsigned int mod_type);

    /// The first module of the type whose `mod_pri` and `msg_pri` are the given ones; a `mod_pri` of 65535
    /// accepts any. Null when there is none. The module is valid until it is removed.
    ServiceModule* GetModule(unsigned int mod_type, unsigned int mod_pri, unsigned int msg_pri);

    /// Calls `InitModule` (`StartModule`) of every module in registration order, past failures.
    /// @return 0; 0x800001f5 when any failed, after one level-14 line for each.
    unsigned int InitModules();
    unsigned int StartModules();

    /// Offers a message to the modules in registration order and delivers it to the first that claims it.
    /// Does not block but for a synchronous handler.
    /// @return the result of the delivery; 0x800001f5, after one level-13 line, when no module claims the
    ///         message, when the one that does is not both initialised and started, and when memory is short for
    ///         the first message of a task; 0x800001f5, without a line, once the process exits.
    unsigned int SendMsg(unsigned int src_mod, unsigned int msg_type, unsigned short pon_no,
                         unsigned short onu_id, char* data, unsigned int pkg_size);

    /// Calls `visit(ServiceModule&)` for every module in registration order. None is deleted meanwhile, so the
    /// visitor is quick and removes none.
    /// @return false when memory was short and nothing was visited.
    template <typename Visit>
    bool ForEachModule(Visit visit);

    /// By index, in registration order. A module is valid until it is removed.
    AggregateObject* GetItem(unsigned int index) override;
    unsigned int GetSize() const override;

    /// The two steps of the end of the process: refuses all further messages; ends the tasks of all modules and
    /// deletes these, when no other task routes a message any more.
    void CloseRouting() { is_closed = true; }
    bool HasModules() const { return table != nullptr; }
    void EndModules();

private:
    template <typename T>
    friend class Immortal;

    /// The modules in registration order. A removal empties an entry; a table that is full is replaced by a larger
    /// one without the empty entries.
    struct Table {
        explicit Table(std::size_t capacity) : entries(capacity) {}

        std::vector<std::atomic<ServiceModule*>> entries;
        std::atomic<std::size_t> count{0};
        std::unique_ptr<Table> replaced; ///< by this one; a task may still be walking it
    };

    ModuleManager();
    ~ModuleManager() override = default;

    /// The first module that is `wanted`; null when there is none. The caller is in a section, or holds `lock`.
    template <typename Wanted>
    ServiceModule* Find(Wanted wanted) const {
        const Table* const modules = table.load(std::memory_order_seq_cst);
        const std::size_t count = modules == nullptr ? 0 : modules->count.load(std::memory_order_acquire);
        for (std::size_t i = 0; i < count; ++i) {
            ServiceModule* const module = modules->entries[i].load(std::memory_order_seq_cst);
            if (module != nullptr && wanted(*module)) return module;
        }
        return nullptr;
    }

    /// Runs one step of the start-up on every module; `name` goes into the line about a failure.
    unsigned int CallAll(unsigned int (Module::*step)(), const char* name);
    unsigned int Route(unsigned int src_mod, unsigned int msg_type, unsigned short pon_no,
                       unsigned short onu_id, char* data, unsigned int pkg_size);
    Table& TableWithRoom();
    template <typename Wanted>
    void TakeOut(Wanted wanted);
    void DeleteRemoved();
    ServiceModule* CutRemoved(ServiceModule* newest);

    std::atomic<bool> is_closed{false};
    std::atomic<Table*> table{nullptr};
    unsigned int last_mod_id = 0;
    ServiceModule* first_removed = nullptr; ///< modules that are out of the table and not deleted yet
    ReadWriteLock lock;                     ///< guards changes of the three above
    ReadWriteLock removal_lock;             ///< held to delete what was removed; taken before `lock`
};

template <typename Visit>
bool ModuleManager::ForEachModule(Visit visit) {
    const SenderGate::Section section;
    if (!section.IsInside()) return false;
    Find([&visit](ServiceModule& module) {
        visit(module);
        return false;
    });
    return true;
}

#endif
