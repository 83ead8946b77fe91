// Makes an allocation of the module or of json-c fail; for tests that are linked with both (the linker's --wrap). Only
// on the thread that asks for it.
#pragma once

// The allocation number `which` from now on, counted from 1, fails; 0: none.
void fail_allocation(long which);

// Every one from that on fails.
void fail_allocations_from(long which);

// Did one fail since it was asked for?
bool allocation_failed();

// All succeed again.
void allocate_again();

// Blocks that are allocated and not yet freed, by all threads.
long live_blocks();
