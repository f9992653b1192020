/*
 * A day of work with marrows, as a client does it: a workspace with items, attributes and a
 * local file, a dependency, a generic with an instance, states with undo and redo, a commit, a
 * new connection that reads everything back, and the integrity check at the end.
 *
 *   workspace [FOLDER]
 *
 * The store and the workspace's directory go into FOLDER (a new temporary folder if none is
 * given), and stay there for `marrows info`, `marrows items` and the other subcommands.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "marrows/marrows.h"

static int Check(int rc, const char* what) {
    if (rc != 0) {
        fprintf(stderr, "%s failed with %d\n", what, rc);
        PDMErrorDumpStack(NULL);
        exit(1);
    }
    return rc;
}

/* Paths come with "|" as their separator; the disk wants "/". */
static void WriteLocalFile(const char* stored, const char* content) {
    char path[1024];
    size_t i;
    for (i = 0; stored[i] != '\0' && i + 1 < sizeof path; ++i) path[i] = stored[i] == '|' ? '/' : stored[i];
    path[i] = '\0';
    FILE* file = fopen(path, "w");
    if (file == NULL || fputs(content, file) < 0 || fclose(file) != 0) {
        fprintf(stderr, "can't write %s\n", path);
        exit(1);
    }
    printf("  wrote %s\n", path);
}

static const char* Revision(WSPIHandle item) {
    const char* text = NULL;
    Check(PDMWSPIGetCurrWSPIVTargetRevision(item, &text), "reading a revision");
    return text;
}

static WSPIHandle Item(WorkspaceHandle ws, const char* name) {
    WSPIHandle item = NULL;
    Check(PDMWorkspaceGetWSPIByName(ws, name, &item), "finding an item");
    if (item == NULL) {
        fprintf(stderr, "no item %s\n", name);
        exit(1);
    }
    return item;
}

int main(int argc, char** argv) {
    char folder[1024], store[1100], directory[1100];
    if (argc > 1) {
        snprintf(folder, sizeof folder, "%s", argv[1]);
        mkdir(folder, 0755);
    } else {
        snprintf(folder, sizeof folder, "/tmp/marrows-day-XXXXXX");
        if (mkdtemp(folder) == NULL) return 1;
    }
    snprintf(store, sizeof store, "%s/plant.ldb", folder);
    snprintf(directory, sizeof directory, "%s/design", folder);
    remove(store);

    LDBHandle ldb = NULL;
    WorkspaceHandle ws = NULL;
    WSPIHandle frame = NULL, bolt = NULL, bracket = NULL, left = NULL;
    WSDependencyHandle uses = NULL;
    PDMAttrValue value;
    const char* path = NULL;

    printf("1. A store and a workspace: %s, %s\n", store, directory);
    Check(PDMLDBCreate(store, &ldb), "PDMLDBCreate");
    Check(PDMLDBStartTransaction(ldb), "PDMLDBStartTransaction");
    Check(PDMWorkspaceCreate(ldb, "design", directory, "line 3", &ws), "PDMWorkspaceCreate");

    printf("2. Items with revisions and attributes\n");
    Check(PDMWorkspaceCreatePI(ws, "frame", "Assembly", &frame), "PDMWorkspaceCreatePI");
    Check(PDMWorkspaceCreatePI(ws, "bolt-M8", "Part", &bolt), "PDMWorkspaceCreatePI");
    Check(PDMWorkspaceCreatePI(ws, "bracket", "Part", &bracket), "PDMWorkspaceCreatePI");
    Check(PDMWSPISetCurrWSPIVTargetRevision(frame, "A"), "set revision");
    Check(PDMWSPISetCurrWSPIVTargetRevision(bolt, "A"), "set revision");
    Check(PDMWSPISetCurrWSPIVTargetRevision(bracket, "A"), "set revision");
    memset(&value, 0, sizeof value);
    value.kind = PDM_ATTR_DOUBLE;
    value.value.d = 0.012;
    Check(PDMWSPISetCurrWSPIVAttribute(bolt, "mass", &value), "set attribute");
    value.kind = PDM_ATTR_STRING;
    value.value.s = "Acme fasteners";
    Check(PDMWSPISetCurrWSPIVAttribute(bolt, "supplier", &value), "set attribute");

    printf("3. A local file for the frame\n");
    Check(PDMWSPIAddCurrWSPIVFile(frame, &path), "PDMWSPIAddCurrWSPIVFile");
    WriteLocalFile(path, "frame drawing, sheet 1\n");

    printf("4. The frame uses the bolt\n");
    Check(PDMWSPIAddCurrWSPIVDependency(frame, bolt, "uses", 1, &uses), "add dependency");

    printf("5. bracket-left, an instance of the bracket, founds the library \"bracket\"\n");
    Check(PDMWSPIAddInstance(bracket, "bracket-left", NULL, &left), "PDMWSPIAddInstance");
    {
        WSLILHandle library = NULL;
        Check(PDMWSPIGetCurrWSPIVLIL(left, &library), "reading the library");
        Check(PDMWSLILAddFile(library, &path), "PDMWSLILAddFile");
        WriteLocalFile(path, "bracket family table\n");
    }
    Check(PDMLDBCommitTransaction(ldb), "PDMLDBCommitTransaction");

    printf("6. A new state: the bolt goes to revision B; undo shows A, redo B again\n");
    Check(PDMLDBStartTransaction(ldb), "PDMLDBStartTransaction");
    Check(PDMWorkspaceCreateState(ws), "PDMWorkspaceCreateState");
    Check(PDMWSPISetCurrWSPIVTargetRevision(bolt, "B"), "set revision");
    Check(PDMWorkspaceUndo(ws), "PDMWorkspaceUndo");
    printf("  after undo: bolt-M8 revision %s\n", Revision(bolt));
    Check(PDMWorkspaceRedo(ws), "PDMWorkspaceRedo");
    printf("  after redo: bolt-M8 revision %s\n", Revision(bolt));
    Check(PDMLDBCommitTransaction(ldb), "PDMLDBCommitTransaction");
    Check(PDMLDBDisconnect(ldb), "PDMLDBDisconnect");

    printf("7. A new connection reads it back\n");
    Check(PDMLDBConnect(store, &ldb), "PDMLDBConnect");
    Check(PDMLDBStartTransaction(ldb), "PDMLDBStartTransaction");
    Check(PDMLDBGetWorkspaceByName(ldb, "design", &ws), "PDMLDBGetWorkspaceByName");
    bolt = Item(ws, "bolt-M8");
    frame = Item(ws, "frame");
    left = Item(ws, "bracket-left");
    Check(PDMWSPIGetCurrWSPIVAttribute(bolt, "supplier", &value), "read attribute");
    printf("  bolt-M8: revision %s, supplier %s\n", Revision(bolt), value.value.s);
    {
        WSPIVHandle version = NULL;
        CursorHandle cursor = NULL;
        void* element = NULL;
        const char* child = NULL;
        WSGIRHandle relation = NULL;
        WSPIHandle generic = NULL;
        int found = -1;
        Check(PDMWSPIGetCurrWSPIV(frame, &version), "read version");
        Check(PDMWSPIVGetDependencies(version, &cursor), "list dependencies");
        while (PDMCursorGetNext(cursor, &element) == 0 && element != NULL) {
            Check(PDMWSDependencyGetChildName((WSDependencyHandle)element, &child), "read dependency");
            printf("  frame uses %s\n", child);
        }
        PDMCursorDelete(cursor);
        Check(PDMWSPIGetCurrWSPIV(left, &version), "read version");
        Check(PDMWSPIVGetGeneric(version, &relation), "read the generic");
        Check(PDMWSGIRGetGenericWSPI(relation, &generic), "read the generic");
        Check(PDMWSPIGetName(generic, &child), "read a name");
        printf("  bracket-left is an instance of %s\n", child);

        printf("8. The integrity check (its findings, if any, print below)\n");
        Check(PDMWorkspaceCheckIntegrity(ws, &found), "PDMWorkspaceCheckIntegrity");
        printf("  %s\n", found ? "findings" : "no findings");
    }
    Check(PDMLDBAbortTransaction(ldb), "PDMLDBAbortTransaction");
    Check(PDMLDBDisconnect(ldb), "PDMLDBDisconnect");
    printf("The store stays at %s\n", store);
    return 0;
}
