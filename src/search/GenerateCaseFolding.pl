#!/usr/bin/perl
# Regenerates the rows of kFoldRuns in CaseFolding.cpp: perl GenerateCaseFolding.pl
# Emits the simple case folding runs (CaseFolding.txt statuses C and S) as C++ rows.
use strict; use warnings; use Unicode::UCD qw(casefold);
my @pairs;
for my $cp (0 .. 0x10FFFF) {
  next if $cp >= 0xD800 && $cp <= 0xDFFF;
  my $f = casefold($cp) or next;
  next unless $f->{status} eq 'C' || $f->{status} eq 'S';
  push @pairs, [$cp, hex $f->{simple}];
}
# Runs of codes with one delta, stepping by 1 or 2.
my @runs;
for my $p (@pairs) {
  my ($c, $t) = @$p; my $d = $t - $c;
  if (@runs) {
    my $r = $runs[-1];
    if ($r->{delta} == $d) {
      my $step = $c - $r->{last};
      if ($r->{first} == $r->{last} && ($step == 1 || $step == 2)) { $r->{stride} = $step; $r->{last} = $c; next; }
      if ($step == $r->{stride}) { $r->{last} = $c; next; }
    }
  }
  push @runs, {first => $c, last => $c, stride => 1, delta => $d};
}
printf "// Unicode %s, %d folded code points in %d runs.\n", Unicode::UCD::UnicodeVersion(), scalar @pairs, scalar @runs;
for my $r (@runs) { printf "    {0x%05X, 0x%05X, %d, %d},\n", $r->{first}, $r->{last}, $r->{stride}, $r->{delta}; }
