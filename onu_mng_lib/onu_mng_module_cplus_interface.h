/// Registering service modules.
#ifndef ONU_MNG_LIB_ONU_MNG_MODULE_CPLUS_INTERFACE_H
#define ONU_MNG_LIB_ONU_MNG_MODULE_CPLUS_INTERFACE_H

class ServiceModule;

/// Registers a module that was created with `new`, between onu_mng_system_init() and onu_mng_system_start().
/// The order of registration is the order in which modules are offered messages.
/// @return 0: the library owns the module; 0x800001f5 for null, a module registered already and when memory
///         is short: the caller owns it.
extern "C" unsigned int onu_mng_module_reg_service_module(ServiceModule* module);

#endif
