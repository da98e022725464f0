// The template of a port: complete, and honest about what is not filled in.
#include <gtest/gtest.h>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/cli.h"
#include "onu_mng_platform/cutil.h"
#include "onu_mng_platform/mpu.h"
#include "onu_mng_platform/ulog.h"

namespace {

template <class... Functions>
bool AllThere(Functions*... functions) {
    return (... && (functions != nullptr));
}

TEST(PlatformTemplate, DefinesTheWholeSeam) {
    EXPECT_TRUE(AllThere(
        bep_msgQCreateEx, bep_msgQSendEx, bep_msgQReceiveEx, bep_msgQNumMsgsEx, bep_msgQDeleteEx,
        bep_semBCreateEx, bep_semTakeEx, bep_semGiveEx, bep_semDeleteEx, bep_taskSpawnEx, bep_taskDeleteEx,
        bep_taskSafeEx, bep_taskUnsafeEx, bep_sysClkRateGetEx, bep_memCpyEx, bep_memSetEx, bep_StrLen,
        bep_StrNCmp, mpuCreate, mpuAlloc_, mpuFree, mpuShow, mpuShowd, mpuShowDebug, mpuGetStat, ulogPrintf,
        ulogSetModIgnore, ulogSetThreshold, ulogSetSink, vty_out, vty_create, vty_destroy, install_element,
        vty_execute, getDateTime, CUtil::ConvertHexChar, CUtil::CovertHexStringToBytes));
}

TEST(PlatformTemplate, FailsWhereItsBodiesAreToBeFilledIn) {
    EXPECT_EQ(bep_msgQCreateEx(1, 1, 0, __FILE__, __LINE__), 0u);
    EXPECT_EQ(bep_semBCreateEx(2, 1, __FILE__, __LINE__), 0u);
    EXPECT_EQ(bep_taskDeleteEx(1), -1);
    const int pool = mpuCreate("template", 1024, 1, 0);
    EXPECT_EQ(mpuFree(mpuAlloc_(pool, 16, __FILE__, __LINE__)), 0);
}

} // namespace
