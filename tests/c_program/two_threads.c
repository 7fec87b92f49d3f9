/* One connection of the C interface used from two threads at once: one sends commands while the other reads
 * streamed readings and changes subscriptions, all on the same handles. Built also with the address and
 * thread sanitizers, which catch what a race or a stray write would do. Takes the module emulator's path. */
#define _XOPEN_SOURCE 700

#include "emulator_process.h"
#include "matlab_wrapper.h"

#include <pthread.h>
#include <stdio.h>
#include <string.h>

#define ROUNDS 20

struct shared {
    G5_Type* g5;
    int failures;
};

static void* commands(void* argument) {
    struct shared* shared = (struct shared*)argument;
    char text[128];
    unsigned int pong = 0, round;
    for (round = 0; round < ROUNDS; ++round) {
        if (dba_ping(shared->g5, &pong) != 0 || pong != 0xAAEEAEEAu)
            ++shared->failures;
        if (dba_get_order_code(shared->g5, text, sizeof text - 1) != 0)
            ++shared->failures;
        dba_peek_message_presence_single(shared->g5);
    }
    return NULL;
}

static void* readings(void* argument) {
    struct shared* shared = (struct shared*)argument;
    uint32_t frame_counter = 0, state = 0, quality = 0, last = 0;
    unsigned int count = 0, round;
    float distance = 0;
    uint8_t direction = 0;
    for (round = 0; round < ROUNDS; ++round) {
        if (dba_read_message_presence_single(shared->g5, &frame_counter, &state, &distance, &direction,
                                             &quality) != 0 ||
            (round > 0 && frame_counter <= last))
            ++shared->failures;
        last = frame_counter;
        dba_subscribe(shared->g5, "everything", NULL, 0);
        dba_get_number_of_packets(shared->g5, "everything", &count);
        dba_unsubscribe(shared->g5, "everything");
    }
    return NULL;
}

int main(int argc, char** argv) {
    const char* const arguments[] = {"--profile", "presence", "--rate", "50", NULL};
    struct emulator_process emulator;
    struct shared first = {NULL, 0}, second = {NULL, 0};
    pthread_t threads[2];
    DeviceBridge* bridge;

    if (argc != 2 || emulator_start(&emulator, argv[1], arguments) != 0) {
        fprintf(stderr, "usage: two_threads MODULE_EMULATOR (it did not start)\n");
        return 2;
    }
    bridge = dba_create_device_bridge(emulator.device, 0);
    if (!bridge) {
        emulator_stop(&emulator);
        return 1;
    }
    first.g5 = second.g5 = dba_get_g5(bridge);
    pthread_create(&threads[0], NULL, commands, &first);
    pthread_create(&threads[1], NULL, readings, &second);
    dba_set_log_level(bridge, 0);
    pthread_join(threads[0], NULL);
    pthread_join(threads[1], NULL);
    dba_destroy_G5_interface(first.g5);
    dba_destroy_device_bridge(bridge);
    emulator_stop(&emulator);
    if (first.failures + second.failures != 0) {
        fprintf(stderr, "FAILED: %d command and %d reading failures\n", first.failures, second.failures);
        return 1;
    }
    printf("two threads shared one connection\n");
    return 0;
}
