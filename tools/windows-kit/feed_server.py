#!/usr/bin/env python3
"""Serves a folder over HTTPS on the loopback address and a free port, as a release feed for the rehearsal of an update.

Writes the port into a file when it listens.

    feed_server.py FOLDER CERTIFICATE KEY PORT_FILE
"""

import functools
import http.server
import os
import ssl
import sys


def main() -> None:
    folder, certificate, key, port_file = sys.argv[1:]
    handler = functools.partial(http.server.SimpleHTTPRequestHandler, directory=folder)
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler)
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.minimum_version = ssl.TLSVersion.TLSv1_2
    context.load_cert_chain(certificate, key)
    server.socket = context.wrap_socket(server.socket, server_side=True)
    with open(port_file + ".new", "w", encoding="ascii") as file:
        file.write(str(server.server_port))
    os.rename(port_file + ".new", port_file)
    server.serve_forever()


if __name__ == "__main__":
    main()
