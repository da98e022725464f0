/* The registrations of the host: its log module, the CLI node of the diagnostic commands, the numbers of PON
 * ports and ONUs, and two functions that translate between ONU ids and serial numbers.
 *
 * The host makes all of them, in any order, before onu_mng_system_init(), which fails otherwise. A second
 * registration replaces the value. None of these functions blocks or logs. Any task may call them.
 */
#ifndef ONU_MNG_LIB_ONU_MNG_SYSTEM_REG_INTERFACE_H
#define ONU_MNG_LIB_ONU_MNG_SYSTEM_REG_INTERFACE_H

#ifdef __cplusplus
#include <atomic>

extern "C" {
#endif

/* A number that is not registered. */
#define ONU_MNG_NOT_REGISTERED 65535u

/* Writes the 8-byte serial number of the ONU to `sn`. `sn_len` is always 8. Returns 0; any other value if the
 * ONU is not known. Called in the tasks of terminals. */
typedef int (*onu_mng_onu_id_to_sn_handle)(unsigned int pon_no, unsigned char onu_id, unsigned char* sn,
                                           unsigned int sn_len);

/* Writes the id of the ONU with the 8-byte serial number `sn` on the PON port to `onu_id`. Returns 0; any
 * other value if there is no such ONU. Called in the tasks of terminals. */
typedef int (*onu_mng_onu_sn_to_id_handle)(unsigned int pon_no, const unsigned char* sn,
                                           unsigned char* onu_id);

/* Registers the module number of the library's log lines. Returns 0. */
unsigned int onu_mng_system_reg_log_module(unsigned int log_module);
/* Returns the log module; ONU_MNG_NOT_REGISTERED before its registration. */
unsigned int onu_mng_system_get_log_module(void);

/* Registers the CLI node under which the diagnostic commands are installed. Returns 0. */
unsigned int onu_mng_system_reg_cli_node(unsigned int cli_node);
/* Returns the CLI node; ONU_MNG_NOT_REGISTERED before its registration. */
unsigned int onu_mng_system_get_cli_node(void);

/* Registers the number of PON ports and the number of ONUs on each port. Returns 0. */
unsigned int onu_mng_system_set_pon_onu_num(unsigned int pon_num, unsigned int onu_num);

/* Register the two functions; null means not registered. Return 0. */
unsigned int onu_mng_system_reg_onu_id_to_onu_sn_handle(onu_mng_onu_id_to_sn_handle handle);
unsigned int onu_mng_system_reg_onu_sn_to_onu_id_handle(onu_mng_onu_sn_to_id_handle handle);

#ifdef __cplusplus
}

/// The registrations. One instance for the process. Its fields are read and written without a lock.
class OnuMngInterface {
public:
    /// Returns the instance of the process.
    static OnuMngInterface* GetInstance();

    /// Returns whether both functions and all four numbers are registered. 65535 means not registered; 0 is a
    /// number.
    bool IsInterfaceReg() const;

    std::atomic<onu_mng_onu_id_to_sn_handle> onu_id_to_sn_handle{
        nullptr}; ///< from ONU numbers to the serial number
    std::atomic<onu_mng_onu_sn_to_id_handle> onu_sn_to_id_handle{
        nullptr};                                                 ///< from the serial number to ONU numbers
    std::atomic<unsigned int> pon_num{ONU_MNG_NOT_REGISTERED};    ///< number of PON ports
    std::atomic<unsigned int> onu_num{ONU_MNG_NOT_REGISTERED};    ///< number of ONUs on each port
    std::atomic<unsigned int> log_module{ONU_MNG_NOT_REGISTERED}; ///< the module number of the log lines
    std::atomic<unsigned int> cli_node{ONU_MNG_NOT_REGISTERED};   ///< the node of the commands

private:
    constexpr OnuMngInterface() = default;
};
#endif

#endif
