/* The C side of bench/python_items.py: a new store with a workspace and N items, each with
 * target revision "A", in one transaction. Prints the seconds from create to commit. */
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include "marrows/marrows.h"

static double Now(void) {
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return t.tv_sec + t.tv_nsec / 1e9;
}

int main(int argc, char** argv) {
    if (argc != 4) {
        fprintf(stderr, "usage: %s N STORE DIRECTORY\n", argv[0]);
        return 2;
    }
    int count = atoi(argv[1]);
    double start = Now();
    LDBHandle ldb = NULL;
    WorkspaceHandle ws = NULL;
    int rc = PDMLDBCreate(argv[2], &ldb) || PDMLDBStartTransaction(ldb) ||
             PDMWorkspaceCreate(ldb, "bench", argv[3], "", &ws);
    char name[32];
    for (int k = 0; rc == 0 && k < count; ++k) {
        WSPIHandle item = NULL;
        snprintf(name, sizeof name, "part-%07d", k);
        rc = PDMWorkspaceCreatePI(ws, name, "Part", &item) ||
             PDMWSPISetCurrWSPIVTargetRevision(item, "A");
    }
    if (rc != 0 || PDMLDBCommitTransaction(ldb) != 0) {
        PDMErrorDumpStack(NULL);
        return 1;
    }
    printf("%.6f\n", Now() - start);
    return PDMLDBDisconnect(ldb);
}
