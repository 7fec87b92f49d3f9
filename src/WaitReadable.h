// The transports' common poll: how long a read waits for the first byte.
#ifndef DEVICEBRIDGE_WAITREADABLE_H
#define DEVICEBRIDGE_WAITREADABLE_H

// Waits at most 10 milliseconds for the descriptor to become readable. Positive when it is (or has hung up),
// 0 when nothing arrived, negative when the wait itself failed. The period bounds how long the reader's
// thread stays away from its task queue, so that it can be stopped quickly.
int wait_readable(int fd);

#endif
