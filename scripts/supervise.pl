# supervise.pl REPORT COMMAND...: runs the command and waits until it and all that it left running have ended.
# It becomes the parent of all processes that lose theirs, also of detached ones, and so learns their exit codes. It
# appends a line "PID CODE" for each to REPORT (128 and more: killed by a signal). Perl, because every Debian has it.
use strict;
use warnings;

my ($report, @command) = @ARGV;
my %prctl = (x86_64 => 157, aarch64 => 167);
chomp(my $machine = `uname -m`);
my $call = $prctl{$machine} or die "supervise.pl: don't know the number of prctl on $machine\n";
my $becomeSubreaper = 36;
syscall($call, $becomeSubreaper, 1, 0, 0, 0) == 0 or die "supervise.pl: prctl: $!\n";

# When it is asked to end, it asks all of them first.
my $ownChildren = "/proc/$$/task/$$/children";
$SIG{TERM} = sub { kill('TERM', split(' ', `cat $ownChildren`)); exit(128 + 15) };

open(my $log, '>>', $report) or die "supervise.pl: $report: $!\n";
my $first = fork() // die "supervise.pl: fork: $!\n";
if ($first == 0) {
    exec { $command[0] } @command or die "supervise.pl: $command[0]: $!\n";
}
while ((my $pid = wait()) > 0) {
    my $code = $? & 127 ? 128 + ($? & 127) : $? >> 8;
    syswrite($log, "$pid $code\n");
}
