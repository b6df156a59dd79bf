#!/usr/bin/env bash
# Runs the examples profile and nest on drawings that others published and compares what they find with
# what is known of them. Counts of entities and the contours and areas of spinner_face come from who
# published them; lengths, boxes, joints, ends on lines, crossings and overlaps from closed forms and a
# comparison of all pairs, and the contours of state_borders from a plain walk over all chains, in another
# language and without this library.
# usage: check_outlines.sh DIR [PROGRAMS]   (default: build/release/examples)
set -euo pipefail
cd "$(dirname "$0")/.."
folder=${1:?usage: check_outlines.sh DIR [PROGRAMS]}
programs=${2:-build/release/examples}
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
failed=0

# profile NAME, nest NAME: runs the program on NAME.dxf.
profile() { "$programs/profile" "$folder/$1.dxf" "$place/$1.kerf" "$place/$1.svg"; }
nest() { "$programs/nest" "$folder/$1.dxf" "$place/$1.svg"; }

# What the program prints must hold each line of the standard input, or a line that begins so, as often as
# it is given.
check() {
    local program=$1 name=$2 times line
    if ! "$program" "$name" >"$place/$name.txt"; then
        echo "$program $name: failed"
        failed=1
        return
    fi
    sort | uniq -c >"$place/expected"
    while read -r times line; do
        [ "$(grep -cF -- "$line" "$place/$name.txt")" -eq "$times" ] && continue
        echo "$program $name: not found $times times: $line"
        failed=1
    done <"$place/expected"
    echo "$program $name: $(tail -n 1 "$place/$name.txt")"
}

check profile closed_loop_with_arcs <<'KNOWN'
entities: 2 ARC, 9 LINE; passed over: none
curves: 11, length 653.058478, box 159.215147 73.192029 to 299.936612 252.117172
meetings: 11 joints, 0 ends on a curve, 0 touches, 1 crossings, 0 overlaps
contours: 1 closed, 0 open
KNOWN
check profile loose_edges <<'KNOWN'
entities: 22 ARC, 52 LINE; passed over: none
curves: 74, length 1961.171132, box 119.508091 127.175452 to 343.477630 327.159467
meetings: 72 joints, 0 ends on a curve, 0 touches, 12 crossings, 0 overlaps
contours: 8 closed, 2 open
KNOWN
check profile spinner_face <<'KNOWN'
entities: 7 ARC, 31 LINE; passed over: none
curves: 38, length 8.031878, box -0.687000 0.087500 to 0.687000 0.602500
meetings: 38 joints, 0 ends on a curve, 0 touches, 0 crossings, 0 overlaps
closed contour of 26, area 0.542372275
closed contour of 4, area 0.037677450
closed contour of 4, area 0.037677450
closed contour of 4, area 0.037677450
contours: 4 closed, 0 open
KNOWN
check profile state_borders <<'KNOWN'
entities: 5650 LINE; passed over: none
curves: 5650, length 334.379512, box -21.646601 -9.110776 to -5.800332 1.502876
meetings: 10045 joints, 22 ends on a curve, 0 touches, 42 crossings, 1002 overlaps
KNOWN
check nest closed_loop_with_arcs <<'KNOWN'
pieces: 11, length 653.058478
contours: 1 closed, 0 open, of 11 pieces
KNOWN
check nest loose_edges <<'KNOWN'
pieces: 74, length 1961.171132
contours: 8 closed, 2 open, of 74 pieces
part 3: 0 holes, area 2768.77023
KNOWN
check nest spinner_face <<'KNOWN'
closed contour of 26, area 0.542372275
closed contour of 4, area 0.037677450
closed contour of 4, area 0.037677450
closed contour of 4, area 0.037677450
contours: 4 closed, 0 open, of 38 pieces
part 1: 3 holes, area 0.42933992
KNOWN
check nest state_borders <<'KNOWN'
pieces: 5650, length 334.379512
left out: 995 doubled, 1 shorter than a joint
closed contour of 105, area 2.580478417
closed contour of 992, area 2.311399442
closed contour of 120, area 2.065603918
closed contour of 48, area 0.001600678
open contour of 167
contours: 18 closed, 47 open, of 4654 pieces
KNOWN
exit $failed
