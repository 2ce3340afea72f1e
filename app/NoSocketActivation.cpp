// `tessarine lock` links libdbus in (where the system has its archive), sparing the loader
// libsystemd and the six libraries that come with it on every lock. libdbus asks libsystemd for
// one thing only: sockets handed over by socket activation, for a D-Bus server. The command line
// is a client and never listens; these answer as libsystemd does for a process started without
// sockets: none were handed over, and no descriptor is one of them.
extern "C" int sd_listen_fds(int)
{
    return 0;
}

extern "C" int sd_is_socket(int, int, int, int)
{
    return 0;
}
