/* The module as a whole process: one table build and one model file from /tmp/dump.txt, without the pause before the
   build. In C and with nothing but what a host has to provide, so that what is measured is the module. */
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static long resident_kb(void) {
    long pages = 0;
    FILE *file = fopen("/proc/self/statm", "r");
    if (file == NULL || fscanf(file, "%*s %ld", &pages) != 1) {
        pages = 0;
    }
    if (file != NULL) {
        fclose(file);
    }
    return pages * (sysconf(_SC_PAGESIZE) / 1024);
}

/* Hands over the reports that stand in a file, one in a line. */
static void receive_reports(void *module, const char *path) {
    int32_t (*handle)(const char *, int32_t);
    char *report = NULL;
    size_t capacity = 0;
    ssize_t length;
    FILE *file = fopen(path, "r");
    if (file == NULL) {
        return;
    }
    *(void **)&handle = dlsym(module, "higherLayerDataRcvHandle");
    while ((length = getline(&report, &capacity, file)) > 0) {
        handle(report, (int32_t)length);
    }
    free(report);
    fclose(file);
}

/* Lets the heap put together what json-c has given back, which it otherwise does when somebody next asks for much. */
static void tidy_heap(void) {
    void *block = malloc(65536);
    *(volatile char *)block = 0;
    free(block);
}

struct calls {
    int32_t (*build)(void);
    int32_t (*write_model)(void);
    int32_t (*write_lists)(void);
};

/* 0, or 1 when the module fails. */
static int run_cycles(const struct calls *calls, int cycles, int tidy) {
    for (int i = 0; i < cycles; ++i) {
        if (calls->build() != 0) {
            return 1;
        }
        if (tidy) {
            tidy_heap();
        }
        if (calls->write_model() != 0 || calls->write_lists() != 0) {
            return 1;
        }
    }
    return 0;
}

/* With a number of cycles it first receives the reports in /tmp/reports.txt, if there are any. It then writes the
   association lists, too, and tells what is resident: before the module is loaded, after that, and at the end. With
   "tidy" behind it the heap is tidied up between the steps, so that each step counts what it does itself. */
int main(int argc, char **argv) {
    struct calls calls;
    const int cycles = argc > 2 ? atoi(argv[2]) : 0;
    const int tidy = argc > 3 && strcmp(argv[3], "tidy") == 0;
    const long before = resident_kb();
    long loaded;
    void *module = argc > 1 ? dlopen(argv[1], RTLD_NOW) : NULL;
    if (module == NULL) {
        fprintf(stderr, "usage: once MODULE [CYCLES [tidy]]\n%s\n", argc > 1 ? dlerror() : "");
        return 2;
    }
    *(void **)&calls.build = dlsym(module, "initALTable");
    *(void **)&calls.write_model = dlsym(module, "writeJsonDataModel");
    *(void **)&calls.write_lists = dlsym(module, "updateWifiAssocList");
    loaded = resident_kb();
    if (cycles > 0) {
        receive_reports(module, "/tmp/reports.txt");
        if (run_cycles(&calls, cycles, tidy) != 0) {
            return 1;
        }
        printf("%ld %ld %ld\n", before, loaded, resident_kb());
    } else if (calls.build() != 0 || calls.write_model() != 0) {
        return 1;
    }
    fflush(NULL);
    _exit(0); /* as a daemon, which frees nothing at its end */
}
