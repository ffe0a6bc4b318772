// What the start of the tool is held against: a program that does nothing.
int main() {}
