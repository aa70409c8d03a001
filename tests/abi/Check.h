/* SPDX-License-Identifier: MIT
 * Checks for programs in plain C: a failed one is printed and counted, and the program goes on. */
#ifndef SINEW_TESTS_ABI_CHECK_H
#define SINEW_TESTS_ABI_CHECK_H

#include <zx/ZxTypes.h>

#define CHECK(condition) checkThat((condition) != 0, __FILE__, __LINE__, #condition)
/** Compares two texts; null equals null alone. */
#define CHECK_TEXT(actual, expected) checkText((actual), (expected), __FILE__, __LINE__, #actual)
/** Compares result codes. */
#define CHECK_RESULT(actual, expected) checkResult((actual), (expected), __FILE__, __LINE__, #actual)

/** What the checks that follow are about; printed with those that fail. */
void checkSubject(const char* subject);
int checkThat(int condition, const char* file, int line, const char* text);
int checkText(const char* actual, const char* expected, const char* file, int line, const char* text);
int checkResult(zxresult actual, zxresult expected, const char* file, int line, const char* text);
/** Number of checks that failed so far. */
int checkFailures(void);

#endif
