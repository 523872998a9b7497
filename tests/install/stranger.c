/* SPDX-License-Identifier: MIT
 *
 * A program of someone who has only the installed files: it asks the library for
 * a column name and prints it with the width of the build. */
#include <host/host.h>
#include <stdio.h>
#include <wbfsi/wbfsi.h>

int main(void) {
    char name[64];
    fsi_init_cfg();
    if (!Z4make_sql_name(name, "AMOUNT", "_12", 30)) {
        return 1;
    }
    printf("%s %d %d bits\n", name, Z4ValidDateFormat("YYYYMMDD"), (int)sizeof(void *) * 8);
    return 0;
}
