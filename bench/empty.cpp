// A program that does nothing, for comparison with the tool's start-up time.
int main() {}
