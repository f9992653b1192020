/* The main example: a plain C client of libmarrows.so. Every result code is checked, and on a
 * failure the error stack is dumped before the program stops. */
#include <stdio.h>
#include <stdlib.h>

#include "marrows/marrows.h"

static int check(int rc, const char* what) {
    if (rc != 0) {
        fprintf(stderr, "%s failed with %d\n", what, rc);
        PDMErrorDumpStack(NULL);
        exit(1);
    }
    return rc;
}

int main(void) {
    int major = 0, minor = 0, patch = 0;
    check(PDMGetLibVersion(&major, &minor, &patch), "PDMGetLibVersion");
    printf("marrows library version %d.%d.%d\n", major, minor, patch);

    /* A failure is a record on the error stack: code, severity and argument texts. */
    nyxErrorPush(NYX_MODULE_MFTOOLKIT, 2408, NYX_SEVERITY_ERROR, 1, (const char*)"/no/such/file.ldb");
    PDMErrorDetails details;
    check(PDMErrorGetDetails(nyxErrorGetCurrent(), &details), "PDMErrorGetDetails");
    printf("top of the stack: error %d, severity %d, %d argument(s), first \"%s\"\n",
           details.code, details.severity, details.argumentCount, details.arguments[0]);
    printf("the dump of the stack:\n");
    fflush(stdout);
    PDMErrorDumpStack(stdout);
    check(PDMErrorClearStack(), "PDMErrorClearStack");
    PDMErrorDumpStack(stdout);
    return 0;
}
