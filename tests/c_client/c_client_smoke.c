/* A C client of the shared library, built as a client would build: only the public header and
 * libmarrows.so. It checks what a C caller sees of the error stack and the fixed-code exports. */
#include <stdio.h>
#include <string.h>

#include "marrows/marrows.h"

static int failures = 0;
static int checks = 0;

#define CHECK(cond)                                                   \
    do {                                                              \
        ++checks;                                                     \
        if (!(cond)) {                                                \
            ++failures;                                               \
            fprintf(stderr, "%s:%d: failed: %s\n", __FILE__, __LINE__, #cond); \
        }                                                             \
    } while (0)

/* The dump of the stack as text, through a temporary stream. */
static void dump_to(char* out, size_t size) {
    FILE* f = tmpfile();
    size_t n;
    PDMErrorDumpStack(f);
    rewind(f);
    n = fread(out, 1, size - 1, f);
    out[n] = '\0';
    fclose(f);
}

int main(void) {
    char text[1024];
    PDMErrorDetails details;
    nyxError* first;
    nyxError* second;

    CHECK(PDMCAPIGetRegistry() == 102);
    CHECK(PDMUDNamePairGetOldName() == 102);
    CHECK(PDMLDBUserDataSetPICSStatus() == 102);
    CHECK(PDMWorkspaceLUFSetDescription(NULL, "x") == 101);
    CHECK(nyxErrorPushOracleError() == 0 && nyxErrorGetCurrent() == NULL);

    dump_to(text, sizeof text);
    CHECK(strcmp(text, "Error Stack: <empty>\n") == 0);

    first = nyxErrorPush(NYX_MODULE_MFTOOLKIT, 2408, NYX_SEVERITY_ERROR, 1, (const char*)"a.ldb");
    second = nyxErrorPush(NYX_MODULE_MFTOOLKIT, 110, NYX_SEVERITY_ERROR, 2,
                          (const char*)"PDMWSPIGetOwner", (const char*)"WSPIHandle");
    CHECK(nyxErrorGetCurrent() == second && nyxErrorGetPrevious(second) == first);
    CHECK(nyxErrorGetMessage(second) == NULL);
    dump_to(text, sizeof text);
    CHECK(strcmp(text,
                 "Error Stack:\n"
                 " Error 110 [module 1] (Error): <no message>\n"
                 "  Argument 1: PDMWSPIGetOwner\n"
                 "  Argument 2: WSPIHandle\n"
                 " Error 2408 [module 1] (Error): <no message>\n"
                 "  Argument 1: a.ldb\n") == 0);

    CHECK(PDMErrorGetDetails(second, &details) == 0);
    CHECK(details.code == 110 && details.severity == 2 && details.argumentCount == 2);
    CHECK(strcmp(details.arguments[1], "WSPIHandle") == 0);
    CHECK(PDMErrorGetDetails(NULL, &details) == 0);
    CHECK(details.code == 0 && details.argumentCount == 0 && details.arguments == NULL);

    nyxErrorPop(second);
    CHECK(nyxErrorGetCurrent() == first);
    CHECK(PDMErrorClearStack() == 0 && nyxErrorGetCurrent() == NULL);

    printf("%d passed, %d failed\n", checks - failures, failures);
    return failures == 0 ? 0 : 1;
}
