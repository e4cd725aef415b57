/* SPDX-License-Identifier: MIT */
/**
 * @file
 * The bus broker client: the request and response record with its ASCII frame, the transport threads, the
 * queues and the request call. The receive state machine is in boarddiag/busbroker_rx.h.
 */
#ifndef BOARDDIAG_BUSBROKER_H
#define BOARDDIAG_BUSBROKER_H

#include <netinet/in.h>
#include <pthread.h>
#include <stdbool.h>
#include <stdint.h>
#include <sys/time.h>

#include <boarddiag/busbroker_rx.h>
#include <boarddiag/decls.h>

BOARDDIAG_BEGIN_DECLS

struct _xmlNode;
struct busbroker_call;

/* ---- The record and its frame (busbroker/frame, data_text, update_request) ---- */

/** Request types (req_type); 0, 1, 4 and 7 travel with an empty data text. */
enum {
    BB_REQ_READ = 2,          /**< read `count` bytes at `addr` */
    BB_REQ_WRITE = 3,         /**< write `count` bytes at `addr` */
    BB_REQ_OTF_DEV_ID = 5,    /**< ask for a dynamic device identifier */
    BB_REQ_BUS_DEV_ACCESS = 6 /**< ask for access to a bus device */
};

/** Request flags (flags). */
enum {
    BB_REQ_NO_WAIT = 0x01, /**< the request call returns at once and the frame is sent again for ever */
    BB_REQ_ACK_DONE = 0x02 /**< an acknowledgement already completes the request */
};

/** Status bits of a response. */
enum {
    BB_RESP_SUCCESS = 0x01,     /**< done; data may come with it */
    BB_RESP_ACK = 0x02,         /**< the broker has the request */
    BB_RESP_NOT_FOUND = 0x20,   /**< the broker does not know the request (type 0 only) */
    BB_RESP_FAILED = 0x40,      /**< any other answer */
    BB_RESP_FORMAT_ERROR = 0x80 /**< a success whose data could not be read */
};

/**
 * A bus broker request or response.
 *
 * The fields from tool_id to crc travel in the frame; those behind them are the parameters of a request and
 * stay zero in a received record. In a request dev_id and dev_name are the caller's texts, borrowed until the
 * request call returns; in a received record they are allocated and its own, like data and support_data
 * always are (free_req_memory()). Texts end with a zero, the length fields hold their lengths. A zeroed
 * record is a valid start.
 *
 * No lock guards a record: it is used by one thread and for one request at a time. A record that was used is
 * not to be copied, but for its parameters: both copies would own its texts (free_req_texts() in front of the
 * copy helps).
 */
struct busbroker_req_resp {
    uint8_t tool_id;          /**< the diagnostic tool, at most 22 in a valid response */
    uint32_t inst_id;         /**< instance of the tool */
    uint32_t transac_id;      /**< transaction; a response carries the id of its request */
    uint8_t dev_id_len;       /**< characters of dev_id */
    const char *dev_id;       /**< device identifier */
    uint8_t dev_name_len;     /**< characters of dev_name */
    const char *dev_name;     /**< device name */
    uint32_t req_prio;        /**< priority, 0 to 2 */
    uint32_t req_type;        /**< request type, 0 to 7 (BB_REQ_READ and the others) */
    uint8_t transac_ind;      /**< transaction indication, 0 to 5 */
    uint16_t data_len;        /**< characters of data */
    uint8_t support_data_len; /**< characters of support_data */
    char *data;               /**< text that depends on the request type; allocated, the record's own */
    char *support_data; /**< support bytes as text; allocated, the record's own; null when there are none */
    uint32_t crc;       /**< checksum of the fields above (calculate_crc()) */

    uint32_t addr;                /**< types 2 and 3: address to read or write */
    uint16_t count;               /**< types 2 and 3: number of bytes */
    uint8_t width;                /**< types 2 and 3: width, as the broker takes it */
    uint8_t code;                 /**< types 2 and 3: code, as the broker takes it */
    uint8_t bus_arg1;             /**< type 6: first value */
    uint8_t bus_arg2;             /**< type 6: second value */
    uint8_t asset_flag;           /**< type 6: non-zero leaves asset_id out */
    uint8_t bus_arg3;             /**< type 6: third value */
    uint8_t bus_arg4;             /**< type 6: fourth value; its first two decimal digits travel */
    char asset_id[32];            /**< type 6: asset identifier, at most 31 characters */
    uint16_t otf_id;              /**< type 5: number whose identifier is asked for */
    uint16_t otf_arg;             /**< type 5: second value; its first four decimal digits travel */
    uint8_t *resp_buf;            /**< where response bytes are copied; the caller's, may be null */
    const uint8_t *write_data;    /**< type 3: the `count` bytes to write; the caller's */
    uint8_t flags;                /**< BB_REQ_NO_WAIT, BB_REQ_ACK_DONE; other bits have no effect */
    uint8_t support_count;        /**< number of support_bytes, at most 85 */
    uint32_t retry_ms;            /**< retransmission interval in milliseconds */
    const uint8_t *support_bytes; /**< bytes that go along with any request; the caller's */
};

/* ---- Queue nodes, socket configuration and client (busbroker/queues, socket_cfg, transport) ---- */

/** A request on a transmit queue. Guarded by the client's tx_mutex; made by the library, or by a program on
 *  the heap; released by the library. */
struct busbroker_tx_node {
    char *frame;         /**< the ASCII frame; owned */
    uint32_t transac_id; /**< the request's transaction id */
    uint32_t length;     /**< characters of the frame */
    uint32_t countdown;  /**< milliseconds until the next send; 0: due */
    uint32_t interval;   /**< milliseconds loaded into the countdown at each send; 0 counts as one tick */
    uint8_t flags;       /**< BB_REQ_ flags */
    uint8_t send_count;  /**< sends so far; a failed one counts 2 */
    struct busbroker_tx_node *next; /**< the request behind, null at the end */
};

/** What came back for a request. Guarded by the client's rx_mutex; made and released by the library. */
struct busbroker_rx_node {
    uint8_t *data;                  /**< response bytes; owned, may be null */
    uint32_t length;                /**< number of response bytes */
    uint32_t transac_id;            /**< transaction id of the request answered */
    uint8_t status;                 /**< BB_RESP_ bits, accumulated over the answers */
    struct busbroker_rx_node *next; /**< the next one, null at the end */
};

/** Where the bus broker is. Written before the threads start, only read afterwards. */
struct sock_cfg {
    uint16_t max_sock_cnt;        /**< only kept for the program */
    uint8_t is_udp;               /**< 1: datagram socket, 0: stream socket */
    uint8_t is_ipv4;              /**< 1: IPv4, 0: IPv6 */
    char ip[47];                  /**< IPv4 address as inet_aton() takes it; may be empty to connect */
    uint16_t port;                /**< port, host order */
    struct sockaddr_in sock_addr; /**< where frames are sent; filled by create_socket() */
};

/**
 * One client of the bus broker: identity, socket, threads, the receive machine's position and the queues.
 *
 * The program owns it and keeps it for the life of the process. It zeroes it, sets the identity, the two
 * receive handlers and the state machine description, initialises both mutexes, fills the socket
 * configuration (parse_socket_cfg()), starts the periodic timer (init_timer(), 100 ms) and then the threads
 * (create_sock_threads()). Where both mutexes are held, tx_mutex is taken first.
 */
struct tool_info {
    uint8_t tool_id;          /**< tool identifier; constant once the threads run */
    uint32_t inst_id;         /**< instance of the tool; constant once the threads run */
    struct sock_cfg sock_cfg; /**< constant once the threads run */
    pthread_t tx_thread;      /**< transmit thread; written by create_sock_threads() */
    pthread_t rx_thread;      /**< receive thread; written by create_sock_threads() */
    int32_t sock_fd;          /**< socket, -1 when it could not be made; constant once the threads run */
    /* From here to mark: the receive thread's alone once it runs; no lock. */
    uint8_t rx_buf[4097]; /**< last datagram received, and a terminating zero */
    uint32_t rx_len;      /**< bytes in rx_buf, without the terminator */
    /** Called for each datagram with a null argument; as a rule busbroker_rx_state_machine(). */
    uint32_t (*rx_handler)(struct tool_info *tool, void *argument);
    /** Given each valid record, which it must not keep; as a rule busbroker_parse_update_queues(). */
    uint32_t (*rx_complete)(struct tool_info *tool, void *argument, struct busbroker_req_resp *record);
    const struct state_info *rx_stateinfo; /**< as a rule #busbroker_rx_stateinfo */
    char *field_buf;                       /**< text of the field being collected */
    uint32_t field_fill;                   /**< characters stored in field_buf */
    uint32_t rx_index;                     /**< next byte of rx_buf to read */
    uint32_t field_len;                    /**< characters that the current field takes, 3 for a mark */
    uint32_t field_count;          /**< bytes consumed of the current field; of a mark, characters matched */
    struct timeval last_step_time; /**< when the last step of the receive machine ended (update_time()) */
    struct timeval
        now_time;      /**< when its current step, or the datagram of that, began (check_rxtime_diff()) */
    uint32_t rx_state; /**< its current state */
    struct busbroker_req_resp *rx_record; /**< the record being built, or null */
    char mark[3];                         /**< the mark looked for, "RPS" or "RPE" */
    struct busbroker_tx_node *tx_queue;   /**< requests, oldest first; guarded by tx_mutex */
    struct busbroker_rx_node *rx_queue;   /**< filed responses; guarded by rx_mutex */
    pthread_mutex_t tx_mutex;             /**< guards tx_queue and its nodes; held during a transmit pass */
    pthread_mutex_t rx_mutex;             /**< guards rx_queue and its nodes */
    uint8_t timeout_flag; /**< 1: a tick came; atomic, set by timeout_update(), cleared by a transmit pass */
    /* private fields of the library follow; all are valid when zero */
    uint32_t tx_wake;        /**< private: raised when the transmit thread has work; it sleeps on this word */
    int32_t owner_pid;       /**< private: the process whose threads run, 0 before; atomic */
    uint32_t rx_reset;       /**< private: 1: the receive thread is to drop what it has half read; atomic */
    uint32_t aged;           /**< private: how often the transmit queue has aged; guarded by tx_mutex */
    uint8_t is_transmitting; /**< private: 1: sock_tx_thread() was started; atomic */
    uint8_t has_told_no_tick;     /**< private: 1: the lack of ticks was told; atomic */
    struct busbroker_call *calls; /**< private: the callers that wait; guarded by tx_mutex */
    uint32_t resp_wake[64]; /**< private: raised when a request is over; each caller sleeps on one of these
                               words; atomic */
};

/**
 * Derives a request's texts, lengths and checksum from its parameters.
 *
 * Of the wire fields, all but tool_id, inst_id and transac_id are written anew; the data and support texts
 * that the record holds are released once the arguments are found good. Refused arguments leave the record as
 * it was, but for a null write_data, which is missed when names and type are stored; when memory runs out it
 * holds what was built before, with lengths that fit.
 *
 * @param req         the record, with its request parameters set; its flags and retry_ms are not read. `data`
 *                    and `support_data` must be null or on the heap before the call.
 * @param dev_id      device identifier, at most 255 characters; kept by pointer.
 * @param dev_name    device name, at most 255 characters; kept by pointer.
 * @param req_prio    priority, 0 to 2.
 * @param req_type    request type, 0 to 7.
 * @param transac_ind transaction indication, 0 to 5; its low 8 bits are kept.
 * @return 0; #DIAG_ERR_INVALID_ARG when a pointer is null, write_data is null for a write, support_bytes is
 * null with a support_count, or a text, the data or the support bytes are too long; #DIAG_ERR_NO_MEMORY.
 *
 * Thread-safe on different records.
 */
uint32_t update_request(struct busbroker_req_resp *req, const char *dev_id, const char *dev_name,
                        uint32_t req_prio, uint32_t req_type, uint32_t transac_ind) BOARDDIAG_CHECKED;

/**
 * Releases the data and support texts of a record and zeroes their lengths; the record itself stays.
 *
 * @param req the record, its texts null or on the heap; null is ignored.
 *
 * Thread-safe on different records.
 */
void free_req_texts(struct busbroker_req_resp *req);

/**
 * The length of the frame that frame_ascii_request() makes of a record.
 *
 * @param req the record; borrowed, only its length fields are read.
 * @return characters, without a terminator; 0 when `req` is null (told at level 0).
 *
 * Thread-safe on different records.
 */
uint32_t calculate_req_len_in_ascii(const struct busbroker_req_resp *req);

/**
 * Writes the frame of a request, from "RQS" to "RQE", and a terminator. Each text takes as many characters as
 * its length field says: one that is shorter, or null, is filled up with zeros.
 *
 * @param req  the record, after update_request(); borrowed.
 * @param dest receives the frame; what does not fit is cut.
 * @param size characters in `dest`; the frame's length plus 1 holds it whole.
 * @return the length of the whole frame, also when it was cut; 0 when the size is below 1 or a pointer, of
 * the record or its two device texts too, is null (told at level 0).
 *
 * Thread-safe on different records.
 */
uint32_t frame_ascii_request(const struct busbroker_req_resp *req, char *dest, int32_t size);

/**
 * The CRC-32 (ISO-HDLC, as zlib's crc32()) of a record: its numbers in host byte order at their stored widths
 * and its texts, in wire order, without the crc itself.
 *
 * @param req the record; each text holds as many characters as its length says, a null text counts as empty.
 * @return the checksum; 0 when `req` is null (reported).
 *
 * Thread-safe on different records.
 */
uint32_t calculate_crc(const struct busbroker_req_resp *req);

/**
 * Checks a received record: tool id and checksum.
 *
 * @param req the record; borrowed.
 * @return 0; #DIAG_ERR_INVALID_ARG when `req` is null (reported), its tool_id is above 22 (told at level 0)
 * or its crc is not that of its fields.
 *
 * Thread-safe on different records.
 */
uint32_t validate_busbroker_req_resp(const struct busbroker_req_resp *req) BOARDDIAG_CHECKED;

/**
 * Tells a client of a tick of the periodic timer: sets its timeout flag and wakes its transmit thread. That
 * one thread registers it (register_timeout_calls(), every tick).
 *
 * @param tool the struct tool_info; null is ignored.
 *
 * Async-signal-safe, thread-safe, keeps errno.
 */
void timeout_update(void *tool); /* a timeout_call_fn */

/**
 * Ages the transmit queue by one tick: each countdown loses 100 ms; one of 1 to 99 ms becomes 100, so that it
 * runs out on the next tick; one of 0 stays.
 *
 * @param tool the client; null is reported.
 *
 * The caller holds tx_mutex.
 */
void busbroker_tx_queue_timeout_update(struct tool_info *tool);

/* ---- Socket configuration and threads (busbroker/socket_cfg, transport, transmit) ---- */

/**
 * Reads a socket configuration from XML elements or from a text.
 *
 * XML: the children "ip", "PortNo", "inetfamily" ("ipv4..." is IPv4, anything else IPv6), "maxsockcnt" and
 * "sock_type" ("udp..." is a datagram socket) of the parent, each holding a text; others are ignored. Text:
 * address, port, family, maximum count and type in this order, separated by one or more "|"; the words
 * "ipv4" and "udp" may stand anywhere in their fields. Numbers are decimal and kept in 16 bits.
 *
 * @param parent   XML form: the parent element; borrowed, only read.
 * @param cfg      receives the values; on failure those read before stay set.
 * @param from_xml non-zero reads `parent`, zero reads `text`.
 * @param text     text form: the configuration; cut into its fields in place.
 * @return 0; #DIAG_ERR_INVALID_ARG when `cfg` or the source is null, an XML value is no text, a field of the
 *         text is missing, or the address has 46 characters or more.
 *
 * Thread-safe on different configurations.
 */
uint32_t parse_socket_cfg(struct _xmlNode *parent, struct sock_cfg *cfg, uint8_t from_xml,
                          char *text) BOARDDIAG_CHECKED;

/**
 * Creates the socket of a configuration, close-on-exec, and connects or binds it.
 *
 * @param cfg          the configuration; its sock_addr is filled: family, port and, from `ip`, the address.
 *                     Where the socket connects, an empty `ip` leaves the address as the program set it.
 * @param fd           receives the descriptor; the caller owns it. -1 when the socket was not created or not
 *                     bound; after a failed connect it stays open.
 * @param connect_flag non-zero connects to sock_addr, zero binds to it.
 * @return 0; #DIAG_ERR_INVALID_ARG when a pointer is null, the socket cannot be made, connected or bound,
 *         `ip` is not an IPv4 address as inet_aton() takes it, or an IPv6 socket should be bound.
 *
 * Thread-safe on different configurations.
 */
uint32_t create_socket(struct sock_cfg *cfg, int32_t *fd, int32_t connect_flag) BOARDDIAG_CHECKED;

/**
 * Starts a thread.
 *
 * @param thread receives the thread's handle.
 * @param attr   its attributes, borrowed for the call; null for the defaults.
 * @param start  what it runs.
 * @param arg    handed to `start`.
 * @return 0; #DIAG_ERR_INVALID_ARG when the thread cannot be created.
 *
 * Thread-safe.
 */
uint32_t create_thread(pthread_t *thread, const pthread_attr_t *attr, void *(*start)(void *),
                       void *arg) BOARDDIAG_CHECKED;

/**
 * Creates the socket of a client and starts its threads. What was set up before a failure stays: an open
 * socket, a running transmit thread.
 *
 * @param tx_attr      attributes of the transmit thread, or null; borrowed for the call.
 * @param rx_attr      attributes of the receive thread, or null; borrowed for the call.
 * @param tool         the client, set up as struct tool_info tells; must live as long as the process.
 * @param tx_start     what the transmit thread runs with the client: sock_tx_thread().
 * @param rx_start     what the receive thread runs with the client: sock_rx_thread().
 * @param connect_flag non-zero connects the socket, zero binds it (create_socket()).
 * @return 0; #DIAG_ERR_INVALID_ARG when the client is null or a step fails.
 *
 * To be called once for a client. Both threads inherit the caller's signal mask.
 */
uint32_t create_sock_threads(const pthread_attr_t *tx_attr, const pthread_attr_t *rx_attr,
                             struct tool_info *tool, void *(*tx_start)(void *), void *(*rx_start)(void *),
                             int32_t connect_flag) BOARDDIAG_CHECKED;

/**
 * The transmit thread: registers timeout_update() for every tick, then sends what is due whenever a request
 * is queued or a tick comes, and sleeps in between.
 *
 * A due request is sent as one datagram, or whole into a stream, and its countdown starts again; unless it
 * has #BB_REQ_NO_WAIT it is sent three times at most (a failed send counts twice) without an answer, of which
 * an acknowledgement is one. A request that waits for its answer holds back those behind it, except with
 * #BB_REQ_NO_WAIT, of which a pass skips four. An abandoned one holds back nobody, nor does one that is
 * answered and whose caller waits in request_busbroker().
 *
 * @param tool the struct tool_info; a null one is reported and ends the thread.
 * @return null for a null client; otherwise it does not return.
 */
void *sock_tx_thread(void *tool);

/**
 * The receive thread: hands each datagram to the client's rx_handler, whose result says nothing; a receive
 * machine that it leaves in the state 65535 is reset. The first failed or empty receive ends the process with
 * exit status -1 (255).
 *
 * @param tool the struct tool_info; a null one is reported and ends the thread.
 * @return null for a null client; otherwise it does not return.
 */
void *sock_rx_thread(void *tool);

/**
 * Receives one datagram of at most 4096 bytes into the client's rx_buf, with a zero behind it.
 *
 * @param tool the client; rx_len receives the length, 0 after an interruption or a failure.
 * @return 0 for a datagram or an interruption by a signal; #DIAG_ERR_INVALID_ARG for a null client, an empty
 *         datagram (or a closed stream) and a failed receive.
 *
 * Blocks. For the receive thread, or a program that runs none.
 */
uint32_t receive_from_socket(struct tool_info *tool);

/* ---- Queues and the request call (busbroker/queues, request, response) ---- */

/**
 * Fills the request parameters of a record for a read or a write; no other field changes.
 *
 * @param req           the record; a null one is reported.
 * @param addr          address to read or write.
 * @param count         number of bytes.
 * @param width         width passed to the broker.
 * @param data          #BB_REQ_READ: receives `count` bytes (resp_buf); #BB_REQ_WRITE: the `count` bytes to
 *                      write (write_data); else not used. Borrowed until the request is over.
 * @param flags         BB_REQ_ flags.
 * @param req_type      the type that the record will be sent with; it is not stored.
 * @param code          code passed to the broker by a #BB_REQ_READ; all others send 28.
 * @param support_bytes support bytes, or null; borrowed until the request is over.
 * @param support_count number of support bytes; a pointer or a count without the other is told and dropped.
 *
 * Thread-safe on different records.
 */
void update_busbroker_req_fields(struct busbroker_req_resp *req, uint32_t addr, uint16_t count, uint8_t width,
                                 uint8_t *data, uint8_t flags, int32_t req_type, uint8_t code,
                                 const uint8_t *support_bytes, uint8_t support_count);

/**
 * Sends a request to the bus broker and waits for its answer.
 *
 * The answer's bytes are copied to the record's resp_buf, without a terminator: at most `count` for a
 * #BB_REQ_READ, at most 39 for a #BB_REQ_OTF_DEV_ID, none for other types. A request that is not answered is
 * sent again every retry_ms milliseconds and given up when it has been sent three times in vain. With
 * #BB_REQ_NO_WAIT the call returns at once and the request is sent again for ever. The record's transac_id is
 * one higher after the call, once the request was queued or its id was refused. The record's data and support
 * texts stay in it, to be looked at or framed again, until its next request or free_req_texts() releases
 * them.
 *
 * @param req         the record, its parameters filled; `data` and `support_data` null or on the heap.
 * @param tool        the client whose threads run.
 * @param dev_id      device identifier, at most 255 characters; borrowed for the call.
 * @param dev_name    device name, likewise.
 * @param req_prio    priority, 0 to 2.
 * @param req_type    request type, 0 to 6.
 * @param transac_ind transaction indication, 0 to 5.
 * @return 0 when the request succeeded (or need not be waited for); #DIAG_ERR_INVALID_ARG for a null pointer,
 *         parameters that update_request() refuses, a transaction id that is pending on the client (reported,
 *         nothing queued), a process that was forked from the one whose threads run (reported, nothing
 * queued), a request that the broker refused or answered unreadably, and one that was given up;
 * #DIAG_ERR_NO_MEMORY.
 *
 * Thread-safe on different records, whose transaction ids must differ while they are pending on one client.
 */
uint32_t request_busbroker(struct busbroker_req_resp *req, struct tool_info *tool, const char *dev_id,
                           const char *dev_name, uint32_t req_prio, uint32_t req_type,
                           uint32_t transac_ind) BOARDDIAG_CHECKED;

/**
 * Appends a frame to the transmit queue, due at once, and wakes the transmit thread.
 *
 * @param tool       the client.
 * @param frame      the frame, on the heap; the call takes it over whatever it returns, and a failed one
 * releases it.
 * @param length     characters of the frame.
 * @param interval   retransmission interval in milliseconds; 0 counts as one tick.
 * @param flags      BB_REQ_ flags.
 * @param transac_id the request's transaction id, unique among those pending on this client.
 * @return 0; #DIAG_ERR_NO_MEMORY; #DIAG_ERR_INVALID_ARG for a null client, and in a process that was forked
 * from the one whose threads run.
 *
 * Thread-safe; takes tx_mutex.
 */
uint32_t queue_tx_buf(struct tool_info *tool, char *frame, uint32_t length, uint32_t interval, uint8_t flags,
                      uint32_t transac_id) BOARDDIAG_CHECKED;

/**
 * Waits until a queued request is over and removes it, and its response, from the queues.
 *
 * @param tool       the client.
 * @param transac_id the request's transaction id.
 * @param resp_buf   receives the response bytes of a success: all of them, except for a request of
 *                   request_busbroker(), whose bounds hold; null takes none.
 * @return 0 when it succeeded, or has #BB_REQ_NO_WAIT (it stays queued then); #DIAG_ERR_INVALID_ARG for a
 * null client, a forked process, an id that is not queued, a failure status, and a request that was given up.
 *
 * Thread-safe; takes tx_mutex and rx_mutex. Woken as soon as a status is filed, looks at least every 0.5 s.
 */
uint32_t check_resp_buf(struct tool_info *tool, uint32_t transac_id, uint8_t *resp_buf) BOARDDIAG_CHECKED;

/**
 * Removes a request from the transmit queue and releases it.
 *
 * @param tool       the client.
 * @param transac_id the request's transaction id.
 * @return 0; #DIAG_ERR_INVALID_ARG when no such request is queued, or for a null client.
 *
 * The caller holds tx_mutex.
 */
uint32_t deque_tool_request(struct tool_info *tool, uint32_t transac_id);

/**
 * Removes a response from the response queue and releases it.
 *
 * @param tool       the client.
 * @param transac_id the transaction id of the request answered.
 * @return 0; #DIAG_ERR_INVALID_ARG when no such response is filed, or for a null client.
 *
 * The caller holds rx_mutex.
 */
uint32_t deque_tool_response(struct tool_info *tool, uint32_t transac_id);

/**
 * Files a status for a pending request and wakes its caller when it completes the request; a status for an id
 * that is not pending is dropped. A second status for the same id adds its bits and replaces the bytes;
 * behind a success that a caller in request_busbroker() is on its way to take, it is dropped.
 *
 * @param tool       the client.
 * @param status     BB_RESP_ bits.
 * @param transac_id the transaction id of the request answered.
 * @param data       response bytes on the heap, or null; the call takes them over whatever it returns.
 * @param length     number of response bytes.
 * @return 0; #DIAG_ERR_NO_MEMORY; #DIAG_ERR_INVALID_ARG for a null client.
 *
 * Thread-safe; takes tx_mutex, then rx_mutex.
 */
uint32_t enqueue_rx_queues(struct tool_info *tool, uint8_t status, uint32_t transac_id, uint8_t *data,
                           uint32_t length);

/**
 * Interprets a valid response by its request type and files what it says (enqueue_rx_queues()). It is the
 * rx_complete handler of a client, and works without threads.
 *
 * @param tool     the client.
 * @param argument not read.
 * @param response the response; borrowed for the call and not changed.
 * @return 0 when a status was filed, or dropped because nobody waits for it; #DIAG_ERR_INVALID_ARG for a null
 *         pointer, a type that has no answer, and a text that is malformed before its status word;
 *         #DIAG_ERR_NO_MEMORY (#DIAG_ERR_INVALID_ARG for want of memory for an identifier).
 *
 * Thread-safe; takes tx_mutex, then rx_mutex.
 */
uint32_t busbroker_parse_update_queues(struct tool_info *tool, void *argument,
                                       struct busbroker_req_resp *response);

BOARDDIAG_END_DECLS

#endif
