// Exports that the library keeps for the names' sake only: they look at no argument, touch
// nothing and push nothing.
#include "marrows/marrows.h"
#include "marrows/version.h"

namespace {
constexpr int kNotSupported = 102;
constexpr int kInternal = 101;
}  // namespace

// One body serves every unsupported export: the others are aliases of it.
int PDMCAPIGetRegistry(void) { return kNotSupported; }

#define MARROWS_NOT_SUPPORTED(name) \
    int name(void) __attribute__((alias("PDMCAPIGetRegistry")));
MARROWS_NOT_SUPPORTED(PDMLDBUserDataGetAllAttributeDefs)
MARROWS_NOT_SUPPORTED(PDMLDBUserDataSetAllAttributeDefs)
MARROWS_NOT_SUPPORTED(PDMLDBUserDataGetPIAthorization)
MARROWS_NOT_SUPPORTED(PDMLDBUserDataSetPIAthorization)
MARROWS_NOT_SUPPORTED(PDMLDBUserDataGetPICSStatus)
MARROWS_NOT_SUPPORTED(PDMLDBUserDataSetPICSStatus)
MARROWS_NOT_SUPPORTED(PDMLDBUserDataIsWSUnderIntegration)
MARROWS_NOT_SUPPORTED(PDMLDBUserDataSetWSUnderIntegration)
MARROWS_NOT_SUPPORTED(PDMLDBUserDataWSIntegrationGetNamePair)
MARROWS_NOT_SUPPORTED(PDMLDBUserDataWSIntegrationSetNamePair)
MARROWS_NOT_SUPPORTED(PDMUDAuthGetAuthType)
MARROWS_NOT_SUPPORTED(PDMUDAuthGetCheckOrNotFlag)
MARROWS_NOT_SUPPORTED(PDMUDAuthHasAuth)
MARROWS_NOT_SUPPORTED(PDMUDCSStatusGetLockType)
MARROWS_NOT_SUPPORTED(PDMUDCSStatusGetUserName)
MARROWS_NOT_SUPPORTED(PDMUDGenAVGetAttrValue)
MARROWS_NOT_SUPPORTED(PDMUDGenAVGetName)
MARROWS_NOT_SUPPORTED(PDMUDGenAVSetAttrValue)
MARROWS_NOT_SUPPORTED(PDMUDNamePairGetNewName)
MARROWS_NOT_SUPPORTED(PDMUDNamePairGetOldName)
#undef MARROWS_NOT_SUPPORTED

// The frame descriptions of a workspace are reached through the state exports instead.
int PDMWorkspaceLUFGetDescription(WorkspaceStateHandle, const char**) { return kInternal; }
int PDMWorkspaceLUFGetModifiedWSPIVs(WorkspaceStateHandle, CursorHandle*) { return kInternal; }
int PDMWorkspaceLUFSetDescription(WorkspaceStateHandle, const char*) { return kInternal; }

int nyxErrorPushOracleError(void) { return 0; }
int nyxErrorPushSQLError(void) { return 0; }

// The interface this library gives is that of version 4.0.0, and the project's version says so.
static_assert(MARROWS_VERSION_MAJOR == 4 && MARROWS_VERSION_MINOR == 0 && MARROWS_VERSION_PATCH == 0,
              "PDMGetLibVersion reports 4.0.0");

int PDMGetLibVersion(int* major, int* minor, int* patch) {
    *major = MARROWS_VERSION_MAJOR;
    *minor = MARROWS_VERSION_MINOR;
    *patch = MARROWS_VERSION_PATCH;
    return 0;
}
