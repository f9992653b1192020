/* The main example: a plain C client of libmarrows.so. It creates a database, keeps
 * application objects with attributes of every kind, commits, disconnects, reconnects and reads
 * them back, compacts the file and prints what it found and the file sizes. Every result code is checked; on a
 * failure the error stack is dumped and the program stops. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "marrows/marrows.h"

static void check(int rc, const char* what) {
    if (rc != 0) {
        fprintf(stderr, "%s failed with %d\n", what, rc);
        PDMErrorDumpStack(NULL);
        exit(1);
    }
}

static long file_size(const char* path) {
    struct stat st;
    return stat(path, &st) == 0 ? (long)st.st_size : -1L;
}

static PDMAttrValue value_of(int kind) {
    PDMAttrValue v;
    memset(&v, 0, sizeof v);
    v.kind = kind;
    return v;
}

static void print_value(const char* name, const PDMAttrValue* v) {
    const char* type = "";
    switch (v->kind) {
        case PDM_ATTR_INTEGER: printf("  %-8s integer  %d\n", name, v->value.i); break;
        case PDM_ATTR_DOUBLE: printf("  %-8s double   %g\n", name, v->value.d); break;
        case PDM_ATTR_BOOLEAN: printf("  %-8s boolean  %s\n", name, v->value.b ? "true" : "false"); break;
        case PDM_ATTR_STRING: printf("  %-8s string   \"%s\"\n", name, v->value.s); break;
        case PDM_ATTR_DATETIME: {
            const char* julian = "";
            check(PDMDateTimeGetJulianString(v->value.dt, &julian), "PDMDateTimeGetJulianString");
            printf("  %-8s date     %d (Julian day:seconds %s)\n", name, (int)v->value.dt, julian);
            break;
        }
        case PDM_ATTR_OBJECT:
            check(PDMLDBObjectGetType(v->value.obj, &type), "PDMLDBObjectGetType");
            printf("  %-8s object   of type %s\n", name, type);
            break;
        default: printf("  %-8s (not set)\n", name); break;
    }
}

int main(int argc, char** argv) {
    char path[4096];
    const char* dir = argc > 1 ? argv[1] : "/tmp";
    LDBHandle ldb = NULL;
    LDBObjectHandle part = NULL, drawing = NULL;
    LDBObjectHandle root;
    PDMAttrValue v;
    PDMDateTimeInfo when = {2026, 11, 23, 9, 30, 0};
    int count = 0, i, major, minor, patch;
    const char* names[16];
    PDMLDBCompactOptions options;

    snprintf(path, sizeof path, "%s/marrows-example-%d.ldb", dir, (int)getpid());
    check(PDMGetLibVersion(&major, &minor, &patch), "PDMGetLibVersion");
    printf("marrows %d.%d.%d, database %s\n", major, minor, patch, path);

    /* Create the database and keep two objects, reachable from the root. */
    check(PDMLDBCreate(path, &ldb), "PDMLDBCreate");
    root = (LDBObjectHandle)ldb; /* the database handle stands for its root object */
    check(PDMLDBStartTransaction(ldb), "PDMLDBStartTransaction");
    check(PDMLDBObjectCreate(ldb, "Part", &part), "PDMLDBObjectCreate");
    check(PDMLDBObjectCreate(ldb, "Drawing", &drawing), "PDMLDBObjectCreate");
    v = value_of(PDM_ATTR_INTEGER); v.value.i = 4711;
    check(PDMLDBObjectSetLDBAttribute(part, "number", &v), "set number");
    v = value_of(PDM_ATTR_DOUBLE); v.value.d = 12.75;
    check(PDMLDBObjectSetLDBAttribute(part, "weight", &v), "set weight");
    v = value_of(PDM_ATTR_BOOLEAN); v.value.b = 1;
    check(PDMLDBObjectSetLDBAttribute(part, "released", &v), "set released");
    v = value_of(PDM_ATTR_STRING); v.value.s = "bracket, left";
    check(PDMLDBObjectSetLDBAttribute(part, "name", &v), "set name");
    v = value_of(PDM_ATTR_DATETIME);
    check(PDMDateTimeCreate(&when, &v.value.dt), "PDMDateTimeCreate");
    check(PDMLDBObjectSetLDBAttribute(part, "changed", &v), "set changed");
    v = value_of(PDM_ATTR_OBJECT); v.value.obj = drawing;
    check(PDMLDBObjectSetLDBAttribute(part, "drawing", &v), "set drawing");
    v.value.obj = part;
    check(PDMLDBObjectSetLDBAttribute(root, "part", &v), "set part on the root");
    check(PDMLDBCommitTransaction(ldb), "PDMLDBCommitTransaction");

    /* Replace a value a few times, so that the file holds dead space for compaction. */
    for (i = 0; i < 20; ++i) {
        char text[64];
        snprintf(text, sizeof text, "bracket, left, revision %d", i);
        check(PDMLDBStartTransaction(ldb), "PDMLDBStartTransaction");
        v = value_of(PDM_ATTR_STRING); v.value.s = text;
        check(PDMLDBObjectSetLDBAttribute(part, "name", &v), "set name");
        check(PDMLDBCommitTransaction(ldb), "PDMLDBCommitTransaction");
    }
    check(PDMLDBDisconnect(ldb), "PDMLDBDisconnect");
    printf("after 21 commits the file has %ld bytes\n", file_size(path));

    /* Reconnect and read everything back. */
    check(PDMLDBConnect(path, &ldb), "PDMLDBConnect");
    root = (LDBObjectHandle)ldb;
    check(PDMLDBStartTransaction(ldb), "PDMLDBStartTransaction");
    v = value_of(PDM_ATTR_NONE);
    check(PDMLDBObjectGetLDBAttribute(root, "part", &v), "get part");
    part = v.value.obj;
    check(PDMLDBObjectGetLDBAttributeNames(part, &count, NULL), "count names");
    if (count > 16) count = 16;
    check(PDMLDBObjectGetLDBAttributeNames(part, &count, names), "list names");
    printf("the part read back after reconnecting has %d attributes:\n", count);
    for (i = 0; i < count; ++i) {
        v = value_of(PDM_ATTR_NONE);
        check(PDMLDBObjectGetLDBAttribute(part, names[i], &v), "get attribute");
        print_value(names[i], &v);
    }
    check(PDMLDBCommitTransaction(ldb), "PDMLDBCommitTransaction");
    check(PDMLDBDisconnect(ldb), "PDMLDBDisconnect");

    /* Give the dead space of the replaced values back. */
    memset(&options, 0, sizeof options);
    options.compact = 1;
    check(PDMLDBCompact(path, &options), "PDMLDBCompact");
    printf("compaction copied %u records: %u bytes in use before, %u after; the file has %ld bytes\n",
           options.recordsCopied, options.topBefore, options.topAfter, file_size(path));

    /* The data is all still there. */
    check(PDMLDBConnect(path, &ldb), "PDMLDBConnect");
    check(PDMLDBStartTransaction(ldb), "PDMLDBStartTransaction");
    v = value_of(PDM_ATTR_NONE);
    check(PDMLDBObjectGetLDBAttribute((LDBObjectHandle)ldb, "part", &v), "get part");
    part = v.value.obj;
    v = value_of(PDM_ATTR_NONE);
    check(PDMLDBObjectGetLDBAttribute(part, "name", &v), "get name");
    printf("after compaction the part is still \"%s\"\n", v.value.s);
    check(PDMLDBCommitTransaction(ldb), "PDMLDBCommitTransaction");
    check(PDMLDBDisconnect(ldb), "PDMLDBDisconnect");

    unlink(path);
    return 0;
}
