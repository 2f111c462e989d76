# SPDX-License-Identifier: GPL-3.0-or-later
# Sourced by the bench script: an unprivileged nginx on 127.0.0.1 inside the build folder, in the
# role of a Crowsnest host's front end. start_nginx FOLDER PICTURES sets NGINX_ADDRESS.
start_nginx() {
    local folder=$1 pictures=$2 port user=
    port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
    mkdir -p "$folder/logs" "$folder/temp"
    # As root, nginx would hand its workers to nobody, who may not read the build folder.
    [ "$(id -u)" -ne 0 ] || user="user root;"
    cat > "$folder/nginx.conf" <<CONF
$user
worker_processes 1;
pid $folder/nginx.pid;
error_log $folder/logs/error.log warn;
events { worker_connections 256; }
http {
    access_log off;
    client_body_temp_path $folder/temp;
    proxy_temp_path $folder/temp;
    fastcgi_temp_path $folder/temp;
    uwsgi_temp_path $folder/temp;
    scgi_temp_path $folder/temp;
    types { image/jpeg jpg; text/html html; }
    server {
        listen 127.0.0.1:$port;
        root $pictures;
        location = / { default_type text/html; return 200 "Kestrel bench host\n"; }
        location = /webcam/ { try_files /cam1.jpg =404; }
        location = /webcam2/ { try_files /cam2.jpg =404; }
        location = /webcam3/ { try_files /cam3.jpg =404; }
        location = /browser.html { default_type text/html; }
    }
}
CONF
    nginx -p "$folder" -c "$folder/nginx.conf" -g 'daemon on;'
    NGINX_ADDRESS=127.0.0.1:$port
    NGINX_FOLDER=$folder
}

stop_nginx() {
    [ -z "${NGINX_FOLDER:-}" ] || nginx -p "$NGINX_FOLDER" -c "$NGINX_FOLDER/nginx.conf" -s stop 2>/dev/null || true
}
