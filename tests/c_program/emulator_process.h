/* The module emulator as a child process, for the C programs that test the C interface. */
#ifndef DEVICEBRIDGE_TEST_EMULATOR_PROCESS_H
#define DEVICEBRIDGE_TEST_EMULATOR_PROCESS_H

#include <sys/types.h>

struct emulator_process {
    pid_t pid;
    /* The device the emulator serves, from its first line of output ("device: /dev/pts/N"). */
    char device[128];
};

/* Starts `program` with the arguments of the null-terminated `arguments` (after the program name) and waits
 * for its device line. 0 on success. */
int emulator_start(struct emulator_process* emulator, const char* program, const char* const* arguments);
void emulator_stop(struct emulator_process* emulator);

/* A fresh directory under /tmp, and its removal with everything in it. */
int scratch_make(char* path, unsigned int size);
void scratch_remove(const char* path);

#endif
