// Makes an allocation of the module fail; for tests that are linked with its rooms (the linker's --wrap).
#pragma once

// The allocation number `which` from now on, counted from 1, fails; 0: none.
void fail_allocation(long which);

// Every one from that on fails.
void fail_allocations_from(long which);

// Did one fail since it was asked for?
bool allocation_failed();

// All succeed again.
void allocate_again();
