#!/usr/bin/env bash
# A Kafka broker of one node, for tests and for trying a cluster on one machine:
#   scripts/kafka.sh fetch     what it is made of, once, into build/kafka
#   scripts/kafka.sh run DIR   runs it in the foreground, with all that it writes in DIR. The first start takes
#                              free ports and keeps them: DIR/port is for clients on this machine, DIR/tlsPort
#                              for those with TLS (DIR/certificate.pem) and a login by PLAIN (the user "scheduler",
#                              its password in DIR/password). It is killed when the process that started it ends.
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

libraries=$repository/build/kafka/lib

fetch() {
    if [ -f "$libraries/complete" ]; then
        return
    fi
    install_packages cluster
    say "fetching the Kafka broker into $libraries"
    mvn -q -B -f scripts/kafka/pom.xml dependency:copy-dependencies -DincludeScope=runtime \
        -DoutputDirectory="$libraries" </dev/null >&2
    touch "$libraries/complete"
}

java_command=(java -Xms128m -Xmx256m -XX:+UseSerialGC -XX:TieredStopAtLevel=1 -cp "$libraries/*")

prepare() {
    local directory=$1 port tlsPort controllerPort
    read -r port tlsPort controllerPort < <(python3 scripts/free_ports.py 3)
    openssl rand -hex 16 >"$directory/password"
    openssl req -x509 -newkey rsa:2048 -nodes -days 3650 -subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1 \
        -keyout "$directory/key.pem" -out "$directory/certificate.pem" 2>/dev/null
    cat "$directory/key.pem" "$directory/certificate.pem" >"$directory/keystore.pem"
    cat >"$directory/server.properties" <<END
process.roles=broker,controller
node.id=1
controller.quorum.voters=1@127.0.0.1:$controllerPort
controller.listener.names=CONTROLLER
listeners=PLAINTEXT://127.0.0.1:$port,SASL_SSL://127.0.0.1:$tlsPort,CONTROLLER://127.0.0.1:$controllerPort
advertised.listeners=PLAINTEXT://127.0.0.1:$port,SASL_SSL://127.0.0.1:$tlsPort
listener.security.protocol.map=PLAINTEXT:PLAINTEXT,SASL_SSL:SASL_SSL,CONTROLLER:PLAINTEXT
sasl.enabled.mechanisms=PLAIN
listener.name.sasl_ssl.plain.sasl.jaas.config=org.apache.kafka.common.security.plain.PlainLoginModule required user_scheduler="$(cat "$directory/password")";
ssl.keystore.type=PEM
ssl.keystore.location=$directory/keystore.pem
log.dirs=$directory/log
num.partitions=3
auto.create.topics.enable=true
offsets.topic.replication.factor=1
offsets.topic.num.partitions=1
transaction.state.log.replication.factor=1
transaction.state.log.min.isr=1
broker.heartbeat.interval.ms=500
broker.session.timeout.ms=3000
END
    "${java_command[@]}" kafka.tools.StorageTool format -c "$directory/server.properties" \
        -t "$(openssl rand -base64 16 | tr '+/' '-_' | tr -d '=')" >&2
    echo "$tlsPort" >"$directory/tlsPort"
    echo "$port" >"$directory/port"
}

umask 077
case ${1:-} in
fetch)
    fetch
    ;;
run)
    directory=$(realpath "${2:?"the directory is missing"}")
    [ -f "$libraries/complete" ] || die "The broker is not here; run scripts/kafka.sh fetch"
    [ -f "$directory/port" ] || prepare "$directory"
    exec setpriv --pdeathsig KILL "${java_command[@]}" kafka.Kafka "$directory/server.properties" >&2
    ;;
*)
    die "scripts/kafka.sh fetch | run DIR"
    ;;
esac
