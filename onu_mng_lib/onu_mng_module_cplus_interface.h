/// Registering service modules.
#ifndef ONU_MNG_LIB_ONU_MNG_MODULE_CPLUS_INTERFACE_H
#define ONU_MNG_LIB_ONU_MNG_MODULE_CPLUS_INTERFACE_H

class ServiceModule;

/// Registers a module that was created with `new`. Call it between onu_mng_system_init() and
/// onu_mng_system_start(). Modules are offered messages in the order of their registration.
/// @return 0: the library owns the module; 0x800001f5 if `module` is null or already registered, or if memory
///         is short: the caller still owns the module.
extern "C" unsigned int onu_mng_module_reg_service_module(ServiceModule* module);

#endif
