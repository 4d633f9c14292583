// Entry point of vk-sony.
int main() { return 0; }
