# Draws the points that onu_mng_curves wrote to the directory `points` as one picture.
set terminal svg size 1080,720 font "sans,12" background "white"
set multiplot layout 2,3
set grid
set key top left
set yrange [0:*]
set style data linespoints

set logscale x 2
set title "a message routed past n modules, ns"
plot points."/modules.tsv" title ""
set title "a supervision round of n contexts, ns a context"
plot points."/contexts.tsv" using 1:($2*1000/$1) title ""
set title "a trace check with n ONUs traced, ns"
plot points."/tracers.tsv" using 1:2 title "hit", "" using 1:3 title "miss"
unset logscale
set title "messages of n senders, M/s"
set xtics 1
plot points."/senders.tsv" title ""
set xtics auto
set logscale x 2
set title "messages of n bytes, M/s"
plot points."/payload.tsv" using 1:2 title ""
unset logscale
set title "a block of a pool that is n % full, ns"
plot points."/pool.tsv" title ""
