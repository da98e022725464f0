/// Service modules and the routing of messages to them.
///
/// A client derives its modules from `ServiceModule`, creates them with `new` and registers them before the
/// system is started. Then any task sends messages. A message names no receiver: the manager offers it to the
/// modules in the order of their registration, and the first whose `Match` returns true receives it.
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

/// How a message is delivered. Any other value means `MSG_PROC_SYNC`.
enum MsgSyncProcType : unsigned int {
    MSG_PROC_SYNC = 0,  ///< the handler runs at once, in the sender's task and on the sender's buffer
    MSG_PROC_ASYNC = 1, ///< the payload is copied and queued to the module's task
};

/// The header of one asynchronous message: 12 bytes at the start of a block of the library's pool, followed
/// by the `pkg_size` bytes of the payload. Queues carry the address of the block. The queue owns the block
/// until a task receives it. Then that task owns it.
struct MessagePacket {
    std::uint32_t msg_type; ///< as sent
    std::uint16_t pon_no;   ///< of the ONU that the message concerns
    std::uint16_t onu_id;   ///< the same
    std::uint32_t pkg_size; ///< bytes of the payload

    /// Returns the first byte of the payload.
    char* Payload() { return reinterpret_cast<char*>(this + 1); }
};
static_assert(sizeof(MessagePacket) == 12, "the payload follows at offset 12");

/// The base class of all modules.
class Module {
public:
    /// Makes a module of a type, with the priority of its task (0: highest, 255: lowest).
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

    unsigned int mod_type;             ///< the key of `ModuleManager::GetModule` and `RemoveModule`
    unsigned int mod_id;               ///< given at registration: 1, 2, 3, ...; 0 before
    unsigned int mod_pri;              ///< the priority of the module's task
    std::atomic<bool> is_init{false};  ///< whether `InitModule` has succeeded
    std::atomic<bool> is_start{false}; ///< whether `StartModule` has succeeded

protected:
    ReadWriteLock lock; ///< serialises `InitModule` and `StartModule`
};

/// A module with a task and a message queue.
///
/// A client overrides `Match` to claim messages and the five-argument `HandleMsg` to handle them. With
/// asynchronous delivery, the handler runs only in the module's task, one message at a time. With synchronous
/// delivery it runs in the tasks of the senders, possibly in several at once, so the module must protect its
/// own state.
class ServiceModule : public Module, public Thread, public AggregateObject {
public:
    /// `name` (copied) is the name of the module and of its task. `mod_pri` is the priority of the task, 0
    /// (highest) to 255 (lowest). `msg_pri` is a number of the client's: reports show it, and `GetModule`
    /// compares it. `msg_num` is the capacity of the queue in messages. `stack_size` is the stack of the task
    /// in bytes.
    ServiceModule(unsigned int mod_type, const char* name, unsigned int mod_pri, unsigned int msg_pri,
                  unsigned int msg_num, unsigned int stack_size);
    /// Ends the task and gives the packets in the queue back to the pool. By then the members of a derived
    /// class are already destroyed, so that class calls `EndTask` in its own destructor. (The manager ends
    /// the task of a registered module before it deletes the module.)
    ~ServiceModule() override;

    /// Creates the queue. A second call changes nothing and returns 0.
    /// @return 0, after one level-12 line; 0x800001f5 if the platform cannot create the queue (two level-13
    ///         lines) or memory is short (one).
    unsigned int InitModule() override;

    /// Starts the task. A second call changes nothing and returns 0.
    /// @return 0, after one level-12 line; 0x800001f5, after one level-13 line, if the platform cannot start
    ///         it.
    unsigned int StartModule() override;

    /// Delivers one message to this module. The caller keeps the buffer.
    ///
    /// Asynchronous: copies the payload into a packet and puts its address into the queue. Does not wait.
    /// Synchronous: runs the handler on the caller's buffer and blocks until it returns.
    /// @return the result of the handler (synchronous); 0 if the message was queued; 0x800001f5 if `data` is
    ///         null, `pkg_size` is 0 or the pool is exhausted (one level-13 line each), and if the queue is
    ///         full (level-11 lines).
    unsigned int SendMsg(unsigned int msg_type, MsgSyncProcType sync_type, unsigned short pon_no,
                         unsigned short onu_id, char* data, unsigned int pkg_size);

    /// Puts the `len` bytes at `buf`, the address of a packet, into the queue. Does not wait.
    /// @return 0; 0x800001f5 if `buf` is null, `len` is 0 or the queue is full.
    unsigned int SendMsg(char* buf, unsigned int len) override;

    /// Passes the packet at `buf` to the five-argument `HandleMsg`. `len` is not used.
    /// @return the result of the handler; 0x800001f5, after one level-13 line, if `buf` is null.
    unsigned int HandleMsg(char* buf, unsigned int len) override;

    /// Runs the module's task: receives packets, handles each and gives it back to the pool. Does not
    /// return.
    void Run() override;

    /// Handles one message. `data` is valid only during the call. If the handler throws in the module's task,
    /// the message is dropped (one level-13 line). The base version does nothing and returns 0.
    /// @return 0, or a failure code. The failure of a queued message is logged (one level-10 line). The
    ///         failure of a synchronous message is returned to its sender.
    virtual unsigned int HandleMsg(unsigned int msg_type, unsigned short pon_no, unsigned short onu_id,
                                   char* data, unsigned int pkg_size);

    /// Returns whether this module claims a message. Runs in the task of every sender, possibly in several at
    /// once, so it must be quick and must not block.
    ///
    /// If it returns true, it sets `sync_type`. Otherwise `sync_type` is `MSG_PROC_SYNC`, or the value that
    /// the `Match` of an earlier module has written. The base version returns false.
    virtual bool Match(unsigned int msg_type, unsigned int src_mod, unsigned short pon_no,
                       unsigned short onu_id, char* data, unsigned int pkg_size, MsgSyncProcType& sync_type);

    MessageQueue msg_queue;  ///< holds the addresses of packets
    std::string mod_name;    ///< in reports and log lines, and the name of the task
    unsigned int msg_pri;    ///< a number of the client's; see the constructor
    unsigned int msg_num;    ///< the length of the queue
    unsigned int msg_size;   ///< bytes of one message in the queue: the address of a packet
    unsigned int stack_size; ///< bytes of the stack of the task

private:
    friend class ModuleManager;

    MessagePacket* ReceivePacket(unsigned int& failures);
    void DrainQueue();

    ServiceModule* next_removed = nullptr; ///< the next one in the manager's list of removed modules
};

/// Owns the registered modules and routes every message.
///
/// One instance for the process. Modules may be registered and removed at any time, even while other tasks
/// send messages or list the modules. Those tasks take no lock. The lock is not re-entrant: overrides of
/// `InitModule` and `StartModule` must not call `InitModules`, `StartModules`, `RegisterModule` or
/// `RemoveModule`.
///
/// When the process exits, routing is closed, the tasks end, and the modules are deleted (process_end.h).
class ModuleManager : public Aggregate {
public:
    /// Returns the instance of the process.
    static ModuleManager* GetInstance();

    /// Registers a module that was created with `new`, gives it the next id and takes ownership.
    /// @return 0; 0x800001f5, after one level-13 line, if `module` is null or already registered, or if
    ///         memory is short: the caller then still owns the module.
    unsigned int RegisterModule(ServiceModule* module);

    /// Removes all modules of a type, ends their tasks, and deletes them with the packets in their queues.
    ///
    /// From the moment of the call, no message reaches the modules. Blocks until the tasks that are routing a
    /// message at that moment have done so, synchronous handlers included, and until the handlers of the
    /// modules return or wait. If a synchronous handler or a `Match` calls it, it does not wait for them: the
    /// modules are deleted after the outermost message of the caller has been routed. If a module's own task
    /// calls it, that module stays (one level-13 line).
    /// @return 0, even if there was no such module.
    unsigned int RemoveModule(unsigned int mod_type);

    /// Returns the first module of the type with these priorities. A `mod_pri` of 65535 accepts any
    /// priorities. Returns null if there is none, or if memory is short. The pointer is valid until the
    /// module is removed.
    ServiceModule* GetModule(unsigned int mod_type, unsigned int mod_pri, unsigned int msg_pri);

    /// Call `InitModule` or `StartModule` of every module in the order of registration, even after a failure.
    /// @return 0; 0x800001f5 if any has failed, after one level-14 line for each.
    unsigned int InitModules();
    unsigned int StartModules();

    /// Offers a message to the modules in the order of registration and delivers it to the first that claims
    /// it. Blocks only for a synchronous handler, and to delete the modules that such a handler has removed.
    /// @return the result of the delivery; 0x800001f5, after one level-13 line, if no module claims the
    ///         message, if the module that claims it is not both initialised and started, or if memory is
    ///         short for the first message of a task; 0x800001f5, without a line, after the exit of the
    ///         process has begun.
    unsigned int SendMsg(unsigned int src_mod, unsigned int msg_type, unsigned short pon_no,
                         unsigned short onu_id, char* data, unsigned int pkg_size);

    /// Calls `visit(ServiceModule&)` for every module in the order of registration. No module is deleted
    /// meanwhile, so `visit` must be quick, and must not remove modules.
    /// @return false if memory was short: then no module was visited.
    template <typename Visit>
    bool ForEachModule(Visit visit);

    /// List the modules by index, in the order of registration; null and 0 if memory is short. A module is
    /// valid until it is removed.
    AggregateObject* GetItem(unsigned int index) override;
    unsigned int GetSize() const override;

    /// End the library when the process exits. `CloseRouting` refuses all further messages. `EndModules` ends
    /// the tasks of all modules, waits until no other task routes a message, and deletes the modules.
    void CloseRouting() { is_closed = true; }
    bool HasModules() const { return table != nullptr; }
    void EndModules();

private:
    template <typename T>
    friend class Immortal;

    /// The modules in the order of registration. A removal clears an entry. When a table is full, a larger
    /// one without the empty entries replaces it.
    struct Table {
        explicit Table(std::size_t capacity) : entries(capacity) {}

        std::vector<std::atomic<ServiceModule*>> entries;
        std::atomic<std::size_t> count{0};
        std::unique_ptr<Table> replaced; ///< the table that this one replaces; a task may still read it
    };

    ModuleManager();
    ~ModuleManager() override = default;

    /// Returns the first module for which `wanted` is true; null if there is none. The caller is in a
    /// section, or holds `lock`.
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

    /// Runs one step of the start-up on every module. The log line about a failure begins with `name`.
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
    ServiceModule* first_removed = nullptr; ///< list of the modules that are removed but not deleted yet
    ReadWriteLock lock;                     ///< guards changes of the three above
    ReadWriteLock removal_lock;             ///< held while removed modules are deleted; taken before `lock`
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
