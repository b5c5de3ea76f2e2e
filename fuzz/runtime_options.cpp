// What every target runs under, wherever it is started: a finding is reproduced by the program and the input alone.

// NOLINTBEGIN(bugprone-reserved-identifier): the sanitizers' names
extern "C" const char* __asan_default_options()
{
    // For the pace: a call frees less than the small quarantine holds, and where a block was allocated is told by starting
    // the program on the finding with ASAN_OPTIONS=malloc_context_size=30. With less than 2 no leak would be found: one of
    // an unknown caller counts as the dynamic linker's.
    return "strict_string_checks=1:detect_leaks=1:malloc_context_size=2:"
           "quarantine_size_mb=1:thread_local_quarantine_size_kb=64:max_malloc_fill_size=64";
}

extern "C" const char* __ubsan_default_options()
{
    return "print_stacktrace=1:halt_on_error=1";
}
// NOLINTEND(bugprone-reserved-identifier)
