ExUnit.start()

defmodule VkSony.TestSim do
  @moduledoc false
  # The vk-sony under test and a scratch directory with scenario files.
  import ExUnit.Assertions

  def executable,
    do: System.get_env("VK_SONY_BINARY") || flunk("set VK_SONY_BINARY to the vk-sony to test")

  def scratch_dir do
    dir = Path.join(System.tmp_dir!(), "vk-sony-client-#{System.unique_integer([:positive])}")
    File.mkdir_p!(dir)
    ExUnit.Callbacks.on_exit(fn -> File.rm_rf!(dir) end)
    dir
  end

  # Environment for a bridge playing `scenario` (text), with a control FIFO.
  def env(dir, scenario, name \\ "camera") do
    path = Path.join(dir, "#{name}.scenario")
    File.write!(path, scenario)

    [
      {"VK_SONY_SIM_SCENARIO", path},
      {"VK_SONY_SIM_CONTROL", Path.join(dir, "#{name}.control")},
      {"VK_SONY_SIM_TRACE", false},
      {"VK_SONY_LOG", false}
    ]
  end

  # Polls `fun` until it returns a truthy value, or fails after `ms`.
  def eventually(fun, ms \\ 10_000) do
    deadline = System.monotonic_time(:millisecond) + ms
    poll(fun, deadline)
  end

  defp poll(fun, deadline) do
    case fun.() do
      value when value not in [nil, false] ->
        value

      _ ->
        if System.monotonic_time(:millisecond) > deadline, do: flunk("condition not met in time")
        Process.sleep(10)
        poll(fun, deadline)
    end
  end
end
