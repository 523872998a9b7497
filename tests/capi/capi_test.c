/* SPDX-License-Identifier: MIT
 *
 * The library as a plain C program uses it: find a dictionary, walk its keys and
 * fields, read a number out of a record, see a refusal, give everything back. */
#include <host/host.h>
#include <wbfsi/wbfsi.h>

#include <stdio.h>
#include <string.h>

static int failures;

static void expect(int holds, const char *what) {
    if (!holds) {
        failures++;
        fprintf(stderr, "not so: %s\n", what);
    }
}

static const XfdField *find_field(const Xfd *xfd, const char *name) {
    for (uint32_t i = 0; i < Z4GetXFDTotalFieldCount(xfd); i++) {
        const XfdField *field = Z4GetXFDFieldInfo(xfd, i);
        if (strcmp(Z4GetXFDFieldName(field), name) == 0) {
            return field;
        }
    }
    return NULL;
}

static void an_indexed_dictionary_loads(void) {
    Xfd *xfd = Z4ParseXFD("customers", 0, 30);
    expect(xfd != NULL, "customers.xfd loads");
    if (xfd == NULL) {
        fprintf(stderr, "%s\n", *Zstdlib_f_errmsg() != NULL ? *Zstdlib_f_errmsg() : "no message");
        return;
    }
    expect(Z4GetXFDFileType(xfd) == XFD_INDEXED, "the file is indexed");
    expect(Z4GetXFDMaxRecSize(xfd) == 120, "a record has 120 bytes");
    expect(Z4GetXFDKeyCount(xfd) == 2, "there are two keys");
    expect(Z4GetXFDKeyDuplicatesAllowed(Z4GetXFDKeyInfo(xfd, 0)) == 0, "numbers are unique");
    expect(Z4GetXFDKeyDuplicatesAllowed(Z4GetXFDKeyInfo(xfd, 1)) == 1, "names may repeat");
    expect(find_field(xfd, "no_such_field") == NULL, "a field that is not there is not found");

    const XfdField *limit = find_field(xfd, "credit_limit");
    expect(limit != NULL && Z4GetXFDFieldOffset(limit) == 93, "credit_limit is at byte 93");
    Z4XFDFree(xfd);
}

static void tables_are_spread_over_fields(void) {
    Xfd *xfd = Z4ParseXFD("orders", 0, 30);
    expect(xfd != NULL, "orders.xfd loads");
    if (xfd == NULL) {
        return;
    }
    /* Line 3 at 24 + 2 * 42, its second delivery 18 + 12 + 8 bytes on. */
    const XfdField *delivered = find_field(xfd, "delivered_3_2");
    expect(delivered != NULL && Z4GetXFDFieldOffset(delivered) == 24 + 84 + 18 + 12 + 8,
           "delivered_3_2 is at its offset");
    Z4XFDFree(xfd);
}

static void a_packed_number_is_read_exactly(void) {
    unsigned char packed[] = {0x01, 0x23, 0x45, 0x67, 0x89, 0x0D};
    char text[16];
    memset(text, ' ', sizeof text);
    ZArgument source = {(uintptr_t)packed, sizeof packed, 9, 11, -2, 0};
    ZArgument target = {(uintptr_t)text, sizeof text, 16, 0, 0, 0};
    expect(ZconvertData(&target, &source, 1, NULL) == 1, "the conversion succeeds");
    expect(memcmp(text, "-12345678.90    ", sizeof text) == 0, "the number is -12345678.90");
}

static void a_missing_dictionary_is_refused(void) {
    expect(Z4ParseXFD("no-such-file", 0, 30) == NULL, "a missing dictionary does not load");
    expect(*Zstdlib_f_errno() == 19 && *Zstdlib_f_int_errno() == 3, "the codes say not found");
    expect(*Zstdlib_f_errmsg() != NULL &&
               strstr(*Zstdlib_f_errmsg(), "Unable to open XFD file for 'no-such-file'") != NULL,
           "the message names the file");
}

int main(int argc, char **argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: capi_test FOLDER-OF-DICTIONARIES\n");
        return 2;
    }
    fsi_init_cfg();
    Z4Init();
    expect(ZCSetValueString("XFD_PREFIX", argv[1]) == 1, "the folder is set");

    an_indexed_dictionary_loads();
    tables_are_spread_over_fields();
    a_packed_number_is_read_exactly();
    a_missing_dictionary_is_refused();

    Z4Exit();
    expect(ZMemoryBlocks("pxfd") == 0, "no dictionary is left");
    return failures == 0 ? 0 : 1;
}
