/// The public interface of the shared library: the headers whose declarations it exports.
///
/// The build includes this file at the start of every source of the shared library, which is compiled with
/// hidden visibility. A declaration that the pragma covers stays visible, with the vtable and the type
/// information of its class. Everything else is internal. So the headers need no export macros, and a new
/// public header has to be added here. `onu_mng_lib/exports.txt` lists the resulting symbols.
#ifndef ONU_MNG_LIB_EXPORTS_H
#define ONU_MNG_LIB_EXPORTS_H

#pragma GCC visibility push(default)

#include "onu_mng_lib/onu_mng_cli_cinterface.h"
#include "onu_mng_lib/onu_mng_cli_cmd.h"
#include "onu_mng_lib/onu_mng_common/clock.h"
#include "onu_mng_lib/onu_mng_common/cmd_fmt.h"
#include "onu_mng_lib/onu_mng_common/iterator.h"
#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_common/module_mgr.h"
#include "onu_mng_lib/onu_mng_common/msg_queue.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_common/runable.h"
#include "onu_mng_lib/onu_mng_common/sem_lock.h"
#include "onu_mng_lib/onu_mng_common/serializable.h"
#include "onu_mng_lib/onu_mng_common/state_chart.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_lib/onu_mng_common/variant.h"
#include "onu_mng_lib/onu_mng_common/variant_type.h"
#include "onu_mng_lib/onu_mng_common/variant_util.h"
#include "onu_mng_lib/onu_mng_log.h"
#include "onu_mng_lib/onu_mng_log_cinterface.h"
#include "onu_mng_lib/onu_mng_module_cinterface.h"
#include "onu_mng_lib/onu_mng_module_cplus_interface.h"
#include "onu_mng_lib/onu_mng_obj.h"
#include "onu_mng_lib/onu_mng_obj_cinterface.h"
#include "onu_mng_lib/onu_mng_system.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_lib/onu_mng_version.h"
#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/cli.h"
#include "onu_mng_platform/cutil.h"
#include "onu_mng_platform/mpu.h"
#include "onu_mng_platform/ulog.h"

#pragma GCC visibility pop

#endif
