/* A client built against an installed marrows: it makes a store, writes an object, reads it
 * back through a new connection, and prints the library's version. */
#include <stdio.h>
#include <string.h>

#include <marrows/marrows.h>
#include <marrows/version.h>

int main(int argc, char** argv) {
    LDBHandle ldb = NULL;
    LDBObjectHandle part = NULL;
    PDMAttrValue value;
    int major = 0, minor = 0, patch = 0;
    if (argc != 2) return 2;
    PDMGetLibVersion(&major, &minor, &patch);
    if (major != MARROWS_VERSION_MAJOR || minor != MARROWS_VERSION_MINOR) return 3;
    memset(&value, 0, sizeof value);
    if (PDMLDBCreate(argv[1], &ldb) != 0 || PDMLDBStartTransaction(ldb) != 0 ||
        PDMLDBObjectCreate(ldb, "Part", &part) != 0)
        return 4;
    value.kind = PDM_ATTR_OBJECT;
    value.value.obj = part;
    if (PDMLDBObjectSetLDBAttribute((LDBObjectHandle)ldb, "part", &value) != 0 ||
        PDMLDBCommitTransaction(ldb) != 0 || PDMLDBDisconnect(ldb) != 0 ||
        PDMLDBConnect(argv[1], &ldb) != 0 || PDMLDBStartTransaction(ldb) != 0 ||
        PDMLDBObjectGetLDBAttribute((LDBObjectHandle)ldb, "part", &value) != 0 ||
        value.kind != PDM_ATTR_OBJECT || PDMLDBAbortTransaction(ldb) != 0 ||
        PDMLDBDisconnect(ldb) != 0) {
        PDMErrorDumpStack(NULL);
        return 5;
    }
    printf("marrows %d.%d.%d (%s)\n", major, minor, patch, MARROWS_VERSION_STRING);
    return 0;
}
