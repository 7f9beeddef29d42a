/* Control surface of the simulated adapters behind the simulated hidapi: adds and unplugs adapters, makes
 * calls fail or stall, injects input reports, and tells what an adapter received. Plain C, exported by the
 * same library as hid_*. Any thread. Adapters are named by the number that adding returns; functions given a
 * number that does not exist, or an argument out of range, do nothing and return -1. At first there is no
 * adapter. */

#pragma once

#include <stddef.h> // NOLINT(modernize-deprecated-headers): a C header
#include <stdint.h> // NOLINT(modernize-deprecated-headers)

#ifndef VIRTUAL_ADAPTER_API
#define VIRTUAL_ADAPTER_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* In the place of an adapter's number: the library as a whole (operations INIT and ENUMERATE). */
#define VIRTUAL_ADAPTER_LIBRARY (-1)
#define VIRTUAL_ADAPTER_MAX_ADAPTERS 16
#define VIRTUAL_ADAPTER_MAX_HANDLES 64
/* For a count of failures: without end. For a stall: until virtual_adapter_release(). */
#define VIRTUAL_ADAPTER_FOREVER 0xFFFFFFFFu
/* Reports that an open handle holds for its reader; the oldest gives way. */
#define VIRTUAL_ADAPTER_QUEUE_REPORTS 64
/* Output reports that an adapter remembers; the oldest gives way. */
#define VIRTUAL_ADAPTER_CAPTURED_REPORTS 4096
#define VIRTUAL_ADAPTER_ERROR_TEXTS 8

/* ---- Coming and going ---- */

/* What enumeration says of a device. Texts are ASCII and copied. A null `path` makes an entry that cannot be
 * opened; a null `serial` or `manufacturer` is not reported at all (asking an open handle for it fails), an
 * empty one is reported as empty. */
struct virtual_adapter_description {
    const char* path;
    const char* serial;
    const char* manufacturer;
    const char* product;
    unsigned short vendor_id;
    unsigned short product_id;
    int interface_number;
};

/* Adds a plugged-in adapter (0x2508:0x0032, interface 0, product "Virtual adapter"). Returns its number, or
 * -1 when there are VIRTUAL_ADAPTER_MAX_ADAPTERS. Enumeration lists adapters in the order in which they were
 * added. */
VIRTUAL_ADAPTER_API int virtual_adapter_add(const char* path, const char* serial, const char* manufacturer);
/* The same with every detail: foreign devices, further interfaces, missing texts. */
VIRTUAL_ADAPTER_API int virtual_adapter_add_device(const struct virtual_adapter_description* description);
/* Unplugs it: it is no longer enumerated, blocked calls return at once, and every handle that is open fails
 * for good (its reads once its queue is empty). Its statistics and captured reports stay. */
VIRTUAL_ADAPTER_API int virtual_adapter_unplug(int adapter);
/* Plugs it in again, switched off and on: same texts, new path (null: the old one). -1 when it is plugged in.
 */
VIRTUAL_ADAPTER_API int virtual_adapter_replug(int adapter, const char* path);
/* Unplugs it for good; its number is not valid any more. */
VIRTUAL_ADAPTER_API int virtual_adapter_remove(int adapter);
/* Back to the state on load: no adapter, no pending fault, counts zero. Open handles fail from now on, but
 * must still be closed. */
VIRTUAL_ADAPTER_API void virtual_adapter_reset(void);

/* ---- Faults ---- */

enum virtual_adapter_operation {
    VIRTUAL_ADAPTER_WRITE,     /* hid_write returns -1, the report does not arrive */
    VIRTUAL_ADAPTER_READ,      /* hid_read and hid_read_timeout return -1 at once */
    VIRTUAL_ADAPTER_OPEN,      /* hid_open_path returns null for this adapter's path */
    VIRTUAL_ADAPTER_SERIAL,    /* hid_get_serial_number_string returns -1 */
    VIRTUAL_ADAPTER_INIT,      /* VIRTUAL_ADAPTER_LIBRARY: hid_init returns -1 */
    VIRTUAL_ADAPTER_ENUMERATE, /* VIRTUAL_ADAPTER_LIBRARY: hid_enumerate returns nothing */
    VIRTUAL_ADAPTER_OPERATIONS
};

/* Makes the k-th next call of `operation` (1 is the very next) and the `count` - 1 calls behind it fail.
 * `count` 0 takes a fault back. One fault per operation; a new one replaces it. Calls count whatever they
 * would return. */
VIRTUAL_ADAPTER_API int virtual_adapter_fail(int adapter, enum virtual_adapter_operation operation,
                                             unsigned kth, unsigned count);
/* Makes the k-th next WRITE or READ wait for `milliseconds` (or until released, or unplugged) before it goes
 * on as it otherwise would. Other calls go on meanwhile. */
VIRTUAL_ADAPTER_API int virtual_adapter_stall(int adapter, enum virtual_adapter_operation operation,
                                              unsigned kth, unsigned milliseconds);
/* Ends every stall that is going on or waiting to happen. */
VIRTUAL_ADAPTER_API int virtual_adapter_release(int adapter);

/* ---- Reports ---- */

/* Gives every open handle an input report of 1..64 bytes. -1 when unplugged. */
VIRTUAL_ADAPTER_API int virtual_adapter_inject(int adapter, const unsigned char* report, size_t length);
/* Controller states per second of each kind that an initialised adapter sends, 0 (none) to 10000; 250 at
 * first. */
VIRTUAL_ADAPTER_API int virtual_adapter_set_rates(int adapter, unsigned input_hz, unsigned state_hz);
/* Output reports that hid_write took so far (not those that failed), whatever their content. */
VIRTUAL_ADAPTER_API uint64_t virtual_adapter_captured_count(int adapter);
/* Copies the index-th of them (0 is the first ever), at most `capacity` bytes, report id first. Returns the
 * report's length as it was given to hid_write (at most 65 of its bytes are kept), or -1 when it is not or no
 * longer there. `time_ns`, when not null, gets the steady clock's time of its arrival. */
VIRTUAL_ADAPTER_API int virtual_adapter_captured(int adapter, uint64_t index, unsigned char* report,
                                                 size_t capacity, int64_t* time_ns);

/* ---- Memory slots ---- */

#define VIRTUAL_ADAPTER_SLOTS 9
enum virtual_adapter_slot_part { VIRTUAL_ADAPTER_SCRIPT, VIRTUAL_ADAPTER_TRANSLATOR };

/* What a person does at the adapter itself; a host is told of all of it by status reports. -1 when unplugged.
 */

/* Puts a file into slot 1..9 as a transfer does (a script of 7 to 8192 bytes with its entry header, a
 * translator of 1 to 254), or with `length` 0 takes away what is there. -1 when the slot could not hold it.
 */
VIRTUAL_ADAPTER_API int virtual_adapter_set_slot_file(int adapter, int slot,
                                                      enum virtual_adapter_slot_part part,
                                                      const unsigned char* bytes, size_t length);
/* Loads slot 1..9 and starts its script. -1 when the slot holds nothing: what was loaded stays, and is
 * reported, as it is on the host's command. */
VIRTUAL_ADAPTER_API int virtual_adapter_load_slot(int adapter, int slot);
VIRTUAL_ADAPTER_API int virtual_adapter_set_output_protocol(int adapter, unsigned char protocol);

/* Copies the file in slot 1..9, at most `capacity` bytes. Returns its length, 0 when there is none, or -1.
 * Works for an unplugged adapter too, as does the next. */
VIRTUAL_ADAPTER_API int virtual_adapter_slot_file(int adapter, int slot, enum virtual_adapter_slot_part part,
                                                  unsigned char* bytes, size_t capacity);
/* Why the loaded script was stopped or could not be started, zero-terminated. Returns the text's length, 0
 * while all is well, or -1. */
VIRTUAL_ADAPTER_API int virtual_adapter_script_error(int adapter, char* text, size_t capacity);

/* ---- Counts ---- */

/* Counts since the adapter was added. New fields are only ever appended. */
struct virtual_adapter_statistics {
    size_t size; /* set by the caller to sizeof; only fields within it are filled */
    uint64_t open_handles;
    uint64_t opens;
    uint64_t open_failures;
    uint64_t writes; /* that succeeded */
    uint64_t write_failures;
    uint64_t read_calls;
    uint64_t reads; /* that returned a report */
    uint64_t read_failures;
    uint64_t reports_dropped; /* from the queue of a handle that has been read from */
    uint64_t stalled;         /* calls that are being stalled now */

    uint64_t errors;          /* reports that break the protocol; see virtual_adapter_error_text() */
    uint64_t other_commands;  /* packets of slots, protocol, transfers and capture, good or bad */
    uint64_t initialisations; /* complete sequences of five packets */
    uint64_t closing_packets;
    uint64_t stop_packets;
    uint64_t reports_since_stop; /* reports received behind the last closing or stop packet */
    uint64_t input_states_sent;  /* controller states of first byte 0x13, three reports each */
    uint64_t report_states_sent; /* of first byte 0x14 */

    uint64_t frames_intact; /* test frames that arrived whole for the first time */
    uint64_t frames_corrupt;
    uint64_t frames_repeated;
    uint64_t frames_out_of_order; /* intact, but behind a later one */
    uint64_t frames_missing;      /* sequence numbers between the first and the latest that never came */
    uint64_t frames_foreign;      /* whole frames of a producer that makes no test frames */
    uint64_t first_sequence;
    uint64_t last_sequence;

    /* From a test frame's stamp to the arrival of its last report; nanoseconds, within 1 %. */
    uint64_t latency_samples;
    uint64_t latency_p50_ns;
    uint64_t latency_p99_ns;
    uint64_t latency_max_ns;

    uint64_t script_transfers; /* complete, checked and kept */
    uint64_t translator_transfers;
    uint64_t transfers_failed;    /* dropped because they broke a rule */
    uint64_t transfers_abandoned; /* another one began, or the power went, before their end */
    uint64_t slot_loads;
    uint64_t slot_loads_refused; /* of slots that hold nothing */
    uint64_t clears;             /* by command */
    uint64_t protocol_changes;   /* by command or at the adapter */
    uint64_t listings_sent;
    uint64_t loaded_slot; /* now; 0 for none */
    uint64_t output_protocol;
    uint64_t script_bytes[VIRTUAL_ADAPTER_SLOTS]; /* now; 0 for none; slot 1 first */
    uint64_t translator_bytes[VIRTUAL_ADAPTER_SLOTS];
    uint64_t script_running;  /* 1 while the loaded slot's script runs */
    uint64_t script_ticks;    /* one for each state of first byte 0x14 while a script runs */
    uint64_t script_failures; /* scripts that had to be stopped, or could not be started */

    uint64_t capture_starts;  /* complete start streams */
    uint64_t capture_devices; /* declared by the last one: 1 keyboard, 2 mouse, 4 controller */
    uint64_t capture_packets;
    uint64_t capture_neutral_packets;
    uint64_t capture_keyboard_packets;   /* in which a key is held */
    uint64_t capture_mouse_packets;      /* with motion, wheel or a button */
    uint64_t capture_controller_packets; /* whose controller part is not the neutral one */
    unsigned char capture_last_packet[64];
};

/* Returns 0, or -1 (`size` 0 included). */
VIRTUAL_ADAPTER_API int virtual_adapter_get_statistics(int adapter,
                                                       struct virtual_adapter_statistics* statistics);
/* The index-th of the first VIRTUAL_ADAPTER_ERROR_TEXTS protocol errors, zero-terminated. Returns its length,
 * or -1. */
VIRTUAL_ADAPTER_API int virtual_adapter_error_text(int adapter, unsigned index, char* text, size_t capacity);

/* Of the library, since load or reset. open_handles counts what is open now, whatever the adapter. */
struct virtual_adapter_library_statistics {
    size_t size;
    uint64_t open_handles;
    uint64_t inits;
    uint64_t exits;
    uint64_t enumerations;
    uint64_t lists_not_freed; /* enumerations whose result was not given back yet */
    /* Calls with a handle that is not open, and calls of hid_init, hid_enumerate, hid_open, hid_open_path or
     * one that asks for a text, made while another thread was in one of them. */
    uint64_t misuses;
};
VIRTUAL_ADAPTER_API int
virtual_adapter_get_library_statistics(struct virtual_adapter_library_statistics* statistics);

enum virtual_adapter_counter {
    VIRTUAL_ADAPTER_COUNT_OPENS,
    VIRTUAL_ADAPTER_COUNT_WRITES,
    VIRTUAL_ADAPTER_COUNT_WRITE_FAILURES,
    VIRTUAL_ADAPTER_COUNT_READ_CALLS,
    VIRTUAL_ADAPTER_COUNT_READS,
    VIRTUAL_ADAPTER_COUNT_READ_FAILURES,
    VIRTUAL_ADAPTER_COUNT_STALLED,
    VIRTUAL_ADAPTER_COUNT_INITIALISATIONS,
    VIRTUAL_ADAPTER_COUNT_CLOSING_PACKETS,
    VIRTUAL_ADAPTER_COUNT_STOP_PACKETS,
    VIRTUAL_ADAPTER_COUNT_INPUT_STATES,
    VIRTUAL_ADAPTER_COUNT_REPORT_STATES,
    VIRTUAL_ADAPTER_COUNT_FRAMES_INTACT,
    VIRTUAL_ADAPTER_COUNT_ERRORS,
    VIRTUAL_ADAPTER_COUNT_SCRIPT_TRANSFERS,
    VIRTUAL_ADAPTER_COUNT_TRANSLATOR_TRANSFERS,
    VIRTUAL_ADAPTER_COUNT_SLOT_LOADS,
    VIRTUAL_ADAPTER_COUNT_SLOT_LOADS_REFUSED,
    VIRTUAL_ADAPTER_COUNT_CLEARS,
    VIRTUAL_ADAPTER_COUNT_PROTOCOL_CHANGES,
    VIRTUAL_ADAPTER_COUNT_LISTINGS_SENT,
    VIRTUAL_ADAPTER_COUNT_SCRIPT_TICKS,
    VIRTUAL_ADAPTER_COUNT_SCRIPT_FAILURES,
    VIRTUAL_ADAPTER_COUNT_CAPTURE_STARTS,
    VIRTUAL_ADAPTER_COUNT_CAPTURE_PACKETS,
    VIRTUAL_ADAPTER_COUNT_CAPTURE_NEUTRAL_PACKETS,
    VIRTUAL_ADAPTER_COUNTERS
};
/* Waits until that count is at least `at_least`. 1: it is; 0: not within `timeout_ms`; -1: no such adapter or
 * counter. */
VIRTUAL_ADAPTER_API int virtual_adapter_wait(int adapter, enum virtual_adapter_counter counter,
                                             uint64_t at_least, unsigned timeout_ms);

#ifdef __cplusplus
}
#endif
