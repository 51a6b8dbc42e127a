# supervise.pl REPORT COMMAND...: runs the command and waits until it and everything that it left behind have ended.
# Processes that lose their parent come to this one, also detached ones, so their real exit codes can be told: a line
# "PID CODE" each is appended to REPORT (128 and more: killed by a signal). Perl, because every Debian has it.
use strict;
use warnings;

my ($report, @command) = @ARGV;
my %prctl = (x86_64 => 157, aarch64 => 167);
chomp(my $machine = `uname -m`);
my $call = $prctl{$machine} or die "supervise.pl: don't know the number of prctl on $machine\n";
my $becomeSubreaper = 36;
syscall($call, $becomeSubreaper, 1, 0, 0, 0) == 0 or die "supervise.pl: prctl: $!\n";

# Asked to end, it asks all of them first.
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
