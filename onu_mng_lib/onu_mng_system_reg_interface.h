/* What the host hands over before anything else runs: its log module, the CLI node of the diagnostic
 * commands, two look-up handlers between ONU ids and serial numbers, and the numbers of PON ports and ONUs.
 *
 * All six values are given, in any order, before onu_mng_system_init(), which refuses to run without them.
 * Registering again replaces the earlier value. None of the functions blocks or logs; any task may call them.
 */
#ifndef ONU_MNG_LIB_ONU_MNG_SYSTEM_REG_INTERFACE_H
#define ONU_MNG_LIB_ONU_MNG_SYSTEM_REG_INTERFACE_H

#ifdef __cplusplus
#include <atomic>

extern "C" {
#endif

/* A number that has not been given. */
#define ONU_MNG_NOT_REGISTERED 65535u

/* Writes the 8-byte serial number of the ONU into `sn` (`sn_len` is always 8). Returns 0; any other value
 * when the ONU is not known. Called from CLI tasks. */
typedef int (*onu_mng_onu_id_to_sn_handle)(unsigned int pon_no, unsigned char onu_id, unsigned char* sn,
                                           unsigned int sn_len);

/* Writes the id of the ONU that has the 8-byte serial number `sn` on the PON port. Returns 0; any other value
 * when there is none. Called from CLI tasks. */
typedef int (*onu_mng_onu_sn_to_id_handle)(unsigned int pon_no, const unsigned char* sn,
                                           unsigned char* onu_id);

/* The module number that every log line of the library carries. Always returns 0. */
unsigned int onu_mng_system_reg_log_module(unsigned int log_module);
/* Returns the log module, ONU_MNG_NOT_REGISTERED before it is registered. */
unsigned int onu_mng_system_get_log_module(void);

/* The CLI node under which the diagnostic commands are installed. Always returns 0. */
unsigned int onu_mng_system_reg_cli_node(unsigned int cli_node);
/* Returns the CLI node, ONU_MNG_NOT_REGISTERED before it is registered. */
unsigned int onu_mng_system_get_cli_node(void);

/* The number of PON ports and of ONUs on each. Always returns 0. */
unsigned int onu_mng_system_set_pon_onu_num(unsigned int pon_num, unsigned int onu_num);

/* The look-up handlers; null counts as not given. Always return 0. */
unsigned int onu_mng_system_reg_onu_id_to_onu_sn_handle(onu_mng_onu_id_to_sn_handle handle);
unsigned int onu_mng_system_reg_onu_sn_to_onu_id_handle(onu_mng_onu_sn_to_id_handle handle);

#ifdef __cplusplus
}

/// The registrations, one instance for the process. Its fields are read and written without a lock.
class OnuMngInterface {
public:
    static OnuMngInterface* GetInstance();

    /// True when both handlers and all four numbers have been given. 65535 counts as not given, 0 as given.
    bool IsInterfaceReg() const;

    std::atomic<onu_mng_onu_id_to_sn_handle> onu_id_to_sn_handle{nullptr};
    std::atomic<onu_mng_onu_sn_to_id_handle> onu_sn_to_id_handle{nullptr};
    std::atomic<unsigned int> pon_num{ONU_MNG_NOT_REGISTERED};
    std::atomic<unsigned int> onu_num{ONU_MNG_NOT_REGISTERED};
    std::atomic<unsigned int> log_module{ONU_MNG_NOT_REGISTERED};
    std::atomic<unsigned int> cli_node{ONU_MNG_NOT_REGISTERED};

private:
    constexpr OnuMngInterface() = default;
};
#endif

#endif
