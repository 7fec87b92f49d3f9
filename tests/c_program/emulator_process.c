#define _XOPEN_SOURCE 700

#include "emulator_process.h"

#include <ftw.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

int emulator_start(struct emulator_process* emulator, const char* program, const char* const* arguments) {
    const char* argv[16];
    unsigned int count = 0;
    int pipe_ends[2];
    FILE* output;
    char line[256];
    const char* prefix = "device: ";
    const char* device;

    argv[count++] = program;
    while (arguments[count - 1] && count < 15) {
        argv[count] = arguments[count - 1];
        ++count;
    }
    argv[count] = NULL;
    if (pipe(pipe_ends) != 0)
        return 1;
    emulator->pid = fork();
    if (emulator->pid < 0)
        return 1;
    if (emulator->pid == 0) {
        dup2(pipe_ends[1], STDOUT_FILENO);
        close(pipe_ends[0]);
        close(pipe_ends[1]);
        execv(program, (char* const*)argv);
        _exit(127);
    }
    close(pipe_ends[1]);
    output = fdopen(pipe_ends[0], "r");
    if (!output || !fgets(line, sizeof line, output) || strncmp(line, prefix, strlen(prefix)) != 0) {
        emulator_stop(emulator);
        return 1;
    }
    line[strcspn(line, "\r\n")] = '\0';
    device = line + strlen(prefix);
    if (strlen(device) >= sizeof emulator->device) {
        emulator_stop(emulator);
        return 1;
    }
    memcpy(emulator->device, device, strlen(device) + 1);
    /* The emulator writes nothing more that matters; its pipe stays open until it ends. */
    return 0;
}

void emulator_stop(struct emulator_process* emulator) {
    if (emulator->pid <= 0)
        return;
    kill(emulator->pid, SIGTERM);
    waitpid(emulator->pid, NULL, 0);
    emulator->pid = 0;
}

int scratch_make(char* path, unsigned int size) {
    const char* pattern = "/tmp/devicebridge_c_XXXXXX";
    if (size <= strlen(pattern))
        return 1;
    strcpy(path, pattern);
    return mkdtemp(path) ? 0 : 1;
}

static int remove_entry(const char* path, const struct stat* status, int flag, struct FTW* walk) {
    (void)status;
    (void)flag;
    (void)walk;
    return remove(path);
}

void scratch_remove(const char* path) {
    nftw(path, remove_entry, 16, FTW_DEPTH | FTW_PHYS);
}
