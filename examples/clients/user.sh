#!/usr/bin/env bash
# Prints the current user and the number of feature keys. Usage: user.sh DAS
#
# "das serve --stdio" is a host for one client, which starts it and speaks through two pipes.
set -euo pipefail
[ $# -eq 1 ] || { echo "Usage: $0 DAS" >&2; exit 2; }

coproc HOST { exec "$1" serve --stdio; }

# Calls processRequest with a text that needs no escaping in JSON but for its quotes.
request() {
    local text=${1//\"/\\\"}
    printf '{"jsonrpc":"2.0","id":1,"method":"processRequest","params":%s}\n' \
        "{\"Request\":\"$text\",\"RequestLength\":${#1}}" >&"${HOST[1]}"
    local answer
    read -r -u "${HOST[0]}" answer
    answer=${answer#*\"Response\":\"}
    printf '%s\n' "${answer%\"\}\}}"
}

printf 'user: %s\n' "$(request getCurrentUser)"
keys=$(request '<Schema name="FeatureKeys"><ReasonForMessage>read_request</ReasonForMessage></Schema>')
printf 'keys: %s\n' "$(grep -o '<Entry>' <<<"$keys" | wc -l)"

# The host ends with its input.
host=$HOST_PID
exec {HOST[1]}>&-
wait "$host"
