// Counts the X resources a process holds on the server, through the X-Resource extension:
//   x11_resources PID
// prints one "TYPE COUNT" line per resource type (WINDOW, PIXMAP, GC, FONT, CURSOR, ...), summed
// over every client connection of that process, then "clients N", "total N" and "pixmap_bytes N".
// Exits 1 when no client of that process is connected.
#include <xcb/res.h>
#include <xcb/xcb.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

struct FreeDeleter
{
    void operator()(void* p) const { std::free(p); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

// The resource bases of the clients that run as this process.
std::vector<uint32_t> clientsOf(xcb_connection_t* c, uint32_t pid)
{
    // Every client, each with the id of the process behind it (XCB's own type names).
    xcb_res_client_id_spec_t everyClientsPid{XCB_NONE, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    Reply<xcb_res_query_client_ids_reply_t> reply(xcb_res_query_client_ids_reply(
        c, xcb_res_query_client_ids(c, 1, &everyClientsPid), nullptr));
    std::vector<uint32_t> clients;
    if (!reply)
        return clients;
    auto it = xcb_res_query_client_ids_ids_iterator(reply.get());
    for (; it.rem; xcb_res_client_id_value_next(&it)) {
        if (xcb_res_client_id_value_value_length(it.data) != 1)
            continue;
        if (*xcb_res_client_id_value_value(it.data) == pid)
            clients.push_back(it.data->spec.client);
    }
    return clients;
}

std::string atomName(xcb_connection_t* c, xcb_atom_t atom)
{
    Reply<xcb_get_atom_name_reply_t> reply(
        xcb_get_atom_name_reply(c, xcb_get_atom_name(c, atom), nullptr));
    if (!reply)
        return "atom" + std::to_string(atom);
    return std::string(xcb_get_atom_name_name(reply.get()),
                       size_t(xcb_get_atom_name_name_length(reply.get())));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: x11_resources PID\n");
        return 2;
    }
    const auto pid = uint32_t(std::strtoul(argv[1], nullptr, 10));
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c)) {
        std::fprintf(stderr, "x11_resources: no display\n");
        return 2;
    }
    Reply<xcb_res_query_version_reply_t> version(
        xcb_res_query_version_reply(c, xcb_res_query_version(c, 1, 2), nullptr));
    if (!version || (version->server_major == 1 && version->server_minor < 2)) {
        std::fprintf(stderr, "x11_resources: the server has no X-Resource 1.2\n");
        return 2;
    }

    const std::vector<uint32_t> clients = clientsOf(c, pid);
    std::map<std::string, uint64_t> counts;
    uint64_t total = 0;
    uint64_t pixmapBytes = 0;
    for (const uint32_t client : clients) {
        Reply<xcb_res_query_client_resources_reply_t> resources(
            xcb_res_query_client_resources_reply(c, xcb_res_query_client_resources(c, client),
                                                 nullptr));
        if (resources) {
            auto it = xcb_res_query_client_resources_types_iterator(resources.get());
            for (; it.rem; xcb_res_type_next(&it)) {
                counts[atomName(c, it.data->resource_type)] += it.data->count;
                total += it.data->count;
            }
        }
        Reply<xcb_res_query_client_pixmap_bytes_reply_t> bytes(
            xcb_res_query_client_pixmap_bytes_reply(c, xcb_res_query_client_pixmap_bytes(c, client),
                                                    nullptr));
        if (bytes)
            pixmapBytes += (uint64_t(bytes->bytes_overflow) << 32) + bytes->bytes;
    }
    xcb_disconnect(c);
    if (clients.empty()) {
        std::fprintf(stderr, "x11_resources: no client of process %u\n", unsigned(pid));
        return 1;
    }
    for (const auto& [type, count] : counts)
        std::printf("%s %llu\n", type.c_str(), static_cast<unsigned long long>(count));
    std::printf("clients %zu\ntotal %llu\npixmap_bytes %llu\n", clients.size(),
                static_cast<unsigned long long>(total),
                static_cast<unsigned long long>(pixmapBytes));
    return 0;
}
