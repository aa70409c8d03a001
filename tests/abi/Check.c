/* SPDX-License-Identifier: MIT
 * Checks for programs in plain C. */
#include "Check.h"

#include <stdio.h>
#include <string.h>

static int failures = 0;
static const char* currentSubject = "start";

void checkSubject(const char* subject) { currentSubject = subject; }

int checkThat(int condition, const char* file, int line, const char* text)
{
    if (!condition) {
        ++failures;
        fprintf(stderr, "%s:%d: %s: failed: %s\n", file, line, currentSubject, text);
    }
    return condition;
}

int checkText(const char* actual, const char* expected, const char* file, int line, const char* text)
{
    const int equal = actual && expected ? strcmp(actual, expected) == 0 : actual == expected;
    if (!equal) {
        ++failures;
        fprintf(stderr, "%s:%d: %s: %s is \"%s\", expected \"%s\"\n", file, line, currentSubject, text,
                actual ? actual : "(null)", expected ? expected : "(null)");
    }
    return equal;
}

int checkResult(zxresult actual, zxresult expected, const char* file, int line, const char* text)
{
    if (actual != expected) {
        ++failures;
        fprintf(stderr, "%s:%d: %s: %s gives 0x%08lx, expected 0x%08lx\n", file, line, currentSubject, text,
                (unsigned long)actual, (unsigned long)expected);
    }
    return actual == expected;
}

int checkFailures(void) { return failures; }
