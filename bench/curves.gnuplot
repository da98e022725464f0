# Draws the points that onu_mng_curves wrote to the directory `points` as one picture.
set terminal svg noenhanced size 900,560 font "sans,11" background "white"
set multiplot layout 2,3
set key top left
set border 3
set tics nomirror
unset mxtics
set yrange [0:*]
set style data lines

set logscale x 4
set format x "%.0f"
set title "message routed past n modules, ns"
set xtics 1,4
plot points."/modules.tsv" title ""
set xtics 1,16
set title "supervision round, ns for each of n contexts"
plot points."/contexts.tsv" using 1:($2*1000/$1) title ""
set title "trace check with n ONUs traced, ns"
plot points."/tracers.tsv" using 1:2 title "hit", "" using 1:3 title "miss"
set title "messages of n bytes, millions a second"
plot points."/payload.tsv" using 1:2 title ""
unset logscale
set xtics 1
set title "messages of n senders, millions a second"
plot points."/senders.tsv" title ""
set xtics 20
set title "block of a pool that is n % full, ns"
plot points."/pool.tsv" title ""
