// A lock shared by processes: the file's existence is the lock.
#pragma once

/// Takes the lock file `path`, waiting at most about `seconds` seconds for its holder; after that, or when
/// the file is older than that, the lock is taken over. Never fails, so a crashed holder delays a caller but
/// never blocks it.
void do_file_lock(const char* path, int seconds);

/// Removes the lock file; returns what unlink returned.
int do_file_unlock(char* path);
