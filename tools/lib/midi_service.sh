# shellcheck shell=bash
# A MIDI service for machines that have none: a private JACK server. Needs common.sh.

has_alsa_sequencer()
{
    [[ -r /dev/snd/seq && -w /dev/snd/seq ]]
}

# A server listens on a socket that carries its name; asking the kernel needs no JACK client.
jack_is_up()
{
    grep -qs "/jack_$1_${UID}_0\$" /proc/net/unix
}

has_midi_service()
{
    has_alsa_sequencer || jack_is_up "${JACK_DEFAULT_SERVER:-default}"
}

# Synchronous mode, since the asynchronous one loses messages under load.
start_private_midi_service()
{
    local name=ostrel-$1-$$
    say "Starting a private MIDI service (JACK server $name)"
    mkdir -p "$LOG_DIR"
    jackd --name "$name" --sync --no-realtime -d dummy -r 48000 -p 256 \
        >"$LOG_DIR/jackd.log" 2>&1 </dev/null &
    STARTED_PIDS+=($!)
    if ! wait_until 20 jack_is_up "$name"; then
        cat "$LOG_DIR/jackd.log" >&2
        fail 'the JACK server did not start'
    fi
    export JACK_DEFAULT_SERVER=$name JACK_NO_START_SERVER=1 OSTREL_MIDI_API=jack
}
