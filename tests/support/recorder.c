/* Stands in for every program that a test lets the shell find: writes down how it was called, and does nothing. */
#include <stdio.h>

/* Per call: the number of words, then each word, all ended by a zero byte. */
int main(int argc, char **argv) {
    FILE *record = fopen("/tmp/recorded", "a");
    if (record == NULL) {
        return 1;
    }
    fprintf(record, "%d%c", argc, 0);
    for (int i = 0; i < argc; ++i) {
        fprintf(record, "%s%c", argv[i], 0);
    }
    return fclose(record) == 0 ? 0 : 1;
}
