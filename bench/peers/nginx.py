"""nginx that answers every request with the same text: what HTTP costs when nothing is done."""

from load import drive
from processes import find_program, free_port, listens, spawn, wait_until

_CONFIGURATION = """
daemon off;
pid %(directory)s/nginx.pid;
error_log stderr error;
worker_processes auto;
events { worker_connections 2048; }
http {
    access_log off;
    keepalive_requests 1000000000;
    client_body_temp_path %(directory)s/body;
    proxy_temp_path %(directory)s/proxy;
    fastcgi_temp_path %(directory)s/fastcgi;
    uwsgi_temp_path %(directory)s/uwsgi;
    scgi_temp_path %(directory)s/scgi;
    server {
        listen 127.0.0.1:%(port)d;
        default_type application/json;
        location / { return 200 '{"clientKey":"00000000-0000-0000-0000-000000000000"}'; }
    }
}
"""


def measure(directory, body, connections, seconds):
    port, output, file = free_port(), directory / "output", directory / "nginx.conf"
    file.write_text(_CONFIGURATION % {"directory": directory, "port": port})
    command = [find_program("nginx"), "-e", "stderr", "-p", directory, "-c", file]
    # The first process ends its workers on SIGTERM; killed, it would leave them.
    with spawn(command, output, orphaned=15) as server:
        wait_until(server, output, lambda: listens(port))
        url = "http://127.0.0.1:%d/" % port
        drive(url, connections, 1, body)
        return drive(url, connections, seconds, body)
