/* A daemon's first steps, in C, against the installed package alone. Prints what it did; the exit code says if it worked. */
#include <stdio.h>
#include <string.h>
#include <zelfdb/vf.h>
#include <zelfdb/zelfdb.h>

static int failed(const char* what, int result, uint32_t err)
{
    printf("%s: result %d, code %u\n", what, result, (unsigned)err);
    return 1;
}

int main(void)
{
    const zelfdb_counts counts = {8, 4, 64};
    const uint8_t mac[6] = {0x02, 0, 0, 0, 0, 1};
    zelfdb_summary summary;
    zelfdb_fdb_cursor cursor;
    zelfdb_ropebuf* entries;
    int32_t vid = -1;
    uint32_t err = 0;

    if (zelfdb_init(&counts) != 0) return failed("init", -1, 0);
    if (zelfdb_create_port(1, 1, ZELFDB_PORT_ETHER, &err) != 0) return failed("port", -1, err);
    if (zelfdb_create_port(1, 1, ZELFDB_PORT_ETHER, &err) != -1 || err != ZELFDB_PORT_EXISTS)
        return failed("again", 0, err);
    if (zelfdb_create_vlan("office", &vid, &err) != 0 || vid != 1) return failed("vlan", vid, err);
    if (zelfdb_add_port_to_vlan(1, 1, 0, 0x8100, 0, 0, &err) != 0) return failed("member", -1, err);
    if (zelfdb_create_sfil(1, mac, 1, 0, 0, &err) != 0) return failed("entry", -1, err);

    memset(&cursor, 0, sizeof cursor);
    entries = zelfdb_alloc_ropebuf(4, sizeof(zelfdb_fdb_record));
    if (!entries || zelfdb_get_all_sfil(1, &cursor, entries) != 0 || entries->filled != 1) return failed("list", -1, 0);
    zelfdb_free_ropebuf(entries);

    if (zelfdb_get_summary(&summary) != 0) return failed("summary", -1, 0);
    printf("vlans %u of %u\n", (unsigned)summary.vlan_count, (unsigned)summary.vlan_capacity);
    return 0;
}
